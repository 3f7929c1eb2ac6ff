#pragma once
#include "web/HttpRequest.h"

/// What a multipart/form-data body brings.
struct HttpMultipart
{
    HttpText::Fields parameters;
    std::vector<HttpUpload> uploads; // pieces of the body
    bool isTooLarge = false;         // more bytes of parameters than may be kept in memory

    /// Parts that are no form data are skipped. A body that ends inside a part yields the whole parts before it.
    /// \param maxParameterBytes  for all names and values together
    static HttpMultipart parse(const std::shared_ptr<HttpTemporaryFile> &body, const QByteArray &boundary,
                               int maxParameterBytes);
};
