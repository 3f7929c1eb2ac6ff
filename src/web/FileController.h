#pragma once
#include "web/HttpRequestHandler.h"
#include "web/WebDirectory.h"

/// Serves the files of the web directory: whole, in ranges, or not at all when the client has them already.
/// Owns: what is remembered of the files. Thread: any, several at once. Ends: with its owner, after the listener.
class FileController : public HttpRequestHandler
{
public:
    explicit FileController(const QString &webDirectory,
                            std::time_t settledAfterSeconds = WebDirectory::kSettledAfterSeconds);

    void service(const HttpRequest &request, HttpResponse &response) override;

private:
    WebDirectory::Opened openFor(const QByteArray &path);

    WebDirectory m_directory;
};
