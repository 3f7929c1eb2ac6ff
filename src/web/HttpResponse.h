#pragma once
#include "web/HttpOutput.h"
#include "web/HttpRequest.h"

#include <optional>

/// A cookie that the client is to keep.
struct HttpCookie
{
    QByteArray name;
    QByteArray value;
    QByteArray domain;
    QByteArray path;
    QByteArray comment;
    std::optional<int> maxAgeSeconds;
    bool isSecure = false;
    bool isHttpOnly = false;

    QByteArray headerValue() const;
};

/// The answer to one request, as a handler writes it.
/// Owns: the headers until they are written. Thread: that of its connection. Ends: before the connection's output does.
class HttpResponse
{
public:
    HttpResponse(HttpOutput &output, const HttpRequest &request); // they outlive it

    bool hasHeader(const char *name) const;
    QByteArray header(const char *name) const; // empty when it is not set
    bool isHeadWritten() const { return m_isHeadWritten; }
    bool isComplete() const { return m_isComplete; } // the last part has been written
    bool hasKnownEnd() const;                        // the client sees where it ends without the connection's end

    void setStatus(int code, const QByteArray &reason);
    void setHeader(const QByteArray &name, const QByteArray &value); // in the order in which they are set first
    void addCookie(const HttpCookie &cookie);

    /// Writes a part of the body. The last one alone gets its length as a header; several parts without a
    /// Content-Length are sent in chunks.
    enum class Part { More, Last };
    void write(const QByteArray &bytes, Part part);
    /// The rest of the body is a piece of a file. Content-Length has been set.
    void writeFile(std::shared_ptr<const Descriptor> file, qint64 offset, qint64 count);

private:
    void writeHead();
    bool mayHaveBody() const;

    HttpOutput &m_output;
    const bool m_isHead;   // only the head is wanted
    const bool m_isHttp10; // knows no chunks
    int m_statusCode = 200;
    QByteArray m_reason = QByteArrayLiteral("OK");
    std::vector<std::pair<QByteArray, QByteArray>> m_headers;
    std::vector<HttpCookie> m_cookies;
    bool m_isHeadWritten = false;
    bool m_isChunked = false;
    bool m_isComplete = false;
};
