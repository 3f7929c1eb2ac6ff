#pragma once
#include "web/HttpRequest.h"
#include "web/HttpResponse.h"

/// Answers requests. Thread: service() is called on several threads at once.
class HttpRequestHandler
{
public:
    virtual ~HttpRequestHandler() = default;

    /// This one says that there is nothing to serve.
    virtual void service(const HttpRequest &request, HttpResponse &response);
};
