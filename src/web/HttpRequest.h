#pragma once
#include "web/HttpTemporaryFile.h"
#include "web/HttpText.h"

#include <vector>

/// Why a request is not served; the number is the status that it is answered with.
enum class HttpRefusal {
    None = 0,
    BadRequest = 400,
    TooLarge = 413,
    NotImplemented = 501,
    VersionNotSupported = 505,
    NoRoom = 507,
    FieldTooLarge, // of a form; 413 too
};

/// A file that came in a form: a piece of the body that is kept on disk.
struct HttpUpload
{
    QByteArray fieldName;
    QByteArray fileName; // as the client says it: never to be used as a path
    QByteArray contentType;
    std::shared_ptr<HttpTemporaryFile> body;
    std::string_view content; // lives as long as the body
};

/// One request as it came in. The parser fills it; a handler reads it.
/// Owns: the bytes of its head, which the views point into, and its body. Thread: that of its connection.
class HttpRequest
{
public:
    std::string_view method() const { return view(m_method); }
    std::string_view version() const { return view(m_version); } // HTTP/1.0 or HTTP/1.1
    const QByteArray &path() const { return m_path; }            // decoded, without the query; any bytes

    bool hasHeader(std::string_view lowerCaseName) const { return find(lowerCaseName) != nullptr; }
    std::string_view header(std::string_view lowerCaseName) const; // the first of that name, trimmed; else empty
    int headerCount(std::string_view lowerCaseName) const;

    const HttpText::Fields &parameters() const { return m_parameters; } // of the query and of a form
    const HttpText::Fields &cookies() const { return m_cookies; }
    const QByteArray &body() const { return m_body; } // empty when it was a form with files
    const std::vector<HttpUpload> &uploads() const { return m_uploads; }

    bool isHead() const { return method() == "HEAD"; }
    bool isHttp10() const { return version() == "HTTP/1.0"; }

private:
    friend class HttpRequestParser;
    struct Piece // of m_head
    {
        int start = 0;
        int size = 0;
    };
    struct Header
    {
        Piece name; // made lower case
        Piece value;
    };
    std::string_view view(Piece piece) const
    {
        return { m_head.constData() + piece.start, static_cast<size_t>(piece.size) };
    }
    const Header *find(std::string_view lowerCaseName) const;
    void clear(); // keeps its memory for the next one

    QByteArray m_head; // request line and headers
    Piece m_method;
    Piece m_target;
    Piece m_version;
    std::vector<Header> m_headers;
    QByteArray m_path;
    HttpText::Fields m_parameters;
    HttpText::Fields m_cookies;
    QByteArray m_body;
    std::vector<HttpUpload> m_uploads;
};
