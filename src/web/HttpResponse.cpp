#include "web/HttpResponse.h"

#include <algorithm>

namespace {
/// A value that cannot begin a header line of its own.
QByteArray oneLine(QByteArray value)
{
    const bool isOneLine = !value.contains('\r') && !value.contains('\n');
    return isOneLine ? value : value.replace('\r', ' ').replace('\n', ' ');
}

auto sameName(const char *name)
{
    return [name](const auto &header) { return qstricmp(header.first.constData(), name) == 0; };
}
} // namespace

QByteArray HttpCookie::headerValue() const
{
    QByteArray text = name + '=' + value;
    const auto add = [&text](const char *attribute, const QByteArray &content) {
        if (!content.isEmpty()) {
            text += attribute + content;
        }
    };
    add("; Comment=", comment);
    add("; Domain=", domain);
    add("; Max-Age=", maxAgeSeconds ? QByteArray::number(*maxAgeSeconds) : QByteArray());
    add("; Path=", path);
    if (isSecure) {
        text += "; Secure";
    }
    if (isHttpOnly) {
        text += "; HttpOnly";
    }
    return text + "; Version=1";
}

HttpResponse::HttpResponse(HttpOutput &output, const HttpRequest &request)
    : m_output(output)
    , m_isHead(request.isHead())
    , m_isHttp10(request.isHttp10())
{
    constexpr size_t kUsualHeaders = 10;
    m_headers.reserve(kUsualHeaders);
}

bool HttpResponse::hasHeader(const char *name) const
{
    return std::any_of(m_headers.begin(), m_headers.end(), sameName(name));
}

QByteArray HttpResponse::header(const char *name) const
{
    const auto found = std::find_if(m_headers.begin(), m_headers.end(), sameName(name));
    return found == m_headers.end() ? QByteArray() : found->second;
}

bool HttpResponse::hasKnownEnd() const
{
    return m_isHead || !mayHaveBody() || m_isChunked || hasHeader("Content-Length");
}

void HttpResponse::setStatus(int code, const QByteArray &reason)
{
    m_statusCode = code;
    m_reason = oneLine(reason);
}

void HttpResponse::setHeader(const QByteArray &name, const QByteArray &value)
{
    Q_ASSERT(!m_isHeadWritten);
    const auto found = std::find_if(m_headers.begin(), m_headers.end(), sameName(name.constData()));
    if (found != m_headers.end()) {
        found->second = value;
    } else {
        m_headers.emplace_back(name, value);
    }
}

void HttpResponse::addCookie(const HttpCookie &cookie)
{
    Q_ASSERT(!m_isHeadWritten);
    m_cookies.push_back(cookie);
}

void HttpResponse::write(const QByteArray &bytes, Part part)
{
    Q_ASSERT(!m_isComplete);
    if (!m_isHeadWritten) {
        if (mayHaveBody() && !hasHeader("Content-Length")) {
            if (part == Part::Last) {
                setHeader(QByteArrayLiteral("Content-Length"), QByteArray::number(bytes.size()));
            } else if (!m_isHttp10) {
                m_isChunked = true;
                setHeader(QByteArrayLiteral("Transfer-Encoding"), QByteArrayLiteral("chunked"));
            }
        }
        writeHead();
    }
    m_isComplete = part == Part::Last;
    if (m_isHead || !mayHaveBody()) {
        return;
    }
    if (!m_isChunked) {
        m_output.append(bytes);
        return;
    }
    if (!bytes.isEmpty()) { // an empty chunk would be the last
        m_output.append(QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n");
    }
    if (m_isComplete) {
        m_output.append(QByteArrayLiteral("0\r\n\r\n"));
    }
}

void HttpResponse::writeFile(std::shared_ptr<const Descriptor> file, qint64 offset, qint64 count)
{
    Q_ASSERT(!m_isComplete && hasHeader("Content-Length"));
    if (!m_isHeadWritten) {
        writeHead();
    }
    m_isComplete = true;
    if (!m_isHead) {
        m_output.appendFile(std::move(file), offset, count);
    }
}

void HttpResponse::writeHead()
{
    constexpr int kUsualSize = 512;
    QByteArray head;
    head.reserve(kUsualSize);
    head.append("HTTP/1.1 ").append(QByteArray::number(m_statusCode)).append(' ').append(m_reason).append("\r\n");
    for (const auto &[name, value] : m_headers) {
        head.append(name).append(": ").append(oneLine(value)).append("\r\n");
    }
    for (const HttpCookie &cookie : m_cookies) {
        head.append("Set-Cookie: ").append(oneLine(cookie.headerValue())).append("\r\n");
    }
    m_output.append(head.append("\r\n"));
    m_isHeadWritten = true;
}

bool HttpResponse::mayHaveBody() const
{
    constexpr int kNoContent = 204;
    constexpr int kNotModified = 304;
    return m_statusCode != kNoContent && m_statusCode != kNotModified;
}
