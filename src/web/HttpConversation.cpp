#include "web/HttpConversation.h"

#include <QDebug>

namespace {
constexpr int kFullOutput = 16 * 1024;       // with so much to send, further requests wait
constexpr qint64 kLeastBytesPerSecond = 100; // a client that sends a request slower than this is hardly one
} // namespace

HttpConversation::HttpConversation(const HttpSettings &settings, HttpRequestHandler &handler, qint64 nowMs)
    : m_settings(settings)
    , m_handler(handler)
    , m_parser(settings)
    , m_timerMs(nowMs)
{}

bool HttpConversation::isTimedOut(qint64 nowMs) const
{
    return nowMs - m_timerMs >= m_settings.readTimeoutMs;
}

bool HttpConversation::isStalling(qint64 nowMs) const
{
    if (!m_output.isEmpty()) {
        return nowMs - m_timerMs >= m_settings.stallAfterMs; // it does not read
    }
    const qint64 sinceMs = nowMs - m_requestMs;
    return m_parser.hasBegun() && sinceMs >= m_settings.stallAfterMs &&
           m_requestBytes * 1000 < kLeastBytesPerSecond * sinceMs;
}

void HttpConversation::receive(const char *bytes, int count, qint64 nowMs)
{
    const int used = m_input.isEmpty() ? serve(bytes, count, nowMs) : 0;
    if (used < count && !m_isClosing) {
        m_input.append(QByteArray(bytes + used, count - used));
    }
}

void HttpConversation::endOfInput()
{
    m_isInputOver = true;
    if (m_input.isEmpty()) {
        m_isClosing = true;
    }
}

void HttpConversation::sent(qint64 nowMs)
{
    m_timerMs = nowMs;
    if (!m_input.isEmpty() && mayServe()) {
        m_input.consume(serve(m_input.data(), m_input.size(), nowMs));
    }
    if (m_isInputOver && m_input.isEmpty()) {
        m_isClosing = true;
    }
}

void HttpConversation::drop()
{
    m_isClosing = true;
    m_output = HttpOutput();
    m_input.clear();
}

bool HttpConversation::mayServe() const
{
    return !m_isClosing && !m_output.hasFile() && m_output.bytes().size() < kFullOutput;
}

int HttpConversation::serve(const char *bytes, int count, qint64 nowMs)
{
    int used = 0;
    while (used < count && mayServe()) {
        if (!m_parser.hasBegun()) {
            m_requestMs = nowMs;
            m_requestBytes = 0;
        }
        const int taken = m_parser.feed(bytes + used, count - used);
        used += taken;
        m_requestBytes += taken;
        switch (m_parser.state()) {
        case HttpRequestParser::State::RequestLine:
        case HttpRequestParser::State::Headers:
            break;
        case HttpRequestParser::State::Body:
            m_timerMs = nowMs;
            if (m_parser.isContinueWanted()) {
                m_output.append(QByteArrayLiteral("HTTP/1.1 100 Continue\r\n\r\n"));
            }
            break;
        case HttpRequestParser::State::Complete:
            answer();
            m_timerMs = nowMs;
            m_parser.reset();
            break;
        case HttpRequestParser::State::Aborted:
            refuse();
            break;
        }
    }
    return m_isClosing ? count : used; // behind the last request nothing counts
}

void HttpConversation::answer()
{
    qDebug("HttpConnectionHandler (%p): received request", static_cast<void *>(this));
    const HttpRequest &request = m_parser.request();
    HttpResponse response(m_output, request);
    bool isLast = request.isHttp10() || HttpText::listHas(request.header("connection"), "close");
    if (isLast) {
        response.setHeader(QByteArrayLiteral("Connection"), QByteArrayLiteral("close"));
    }
    callHandler(response);
    if (!response.isComplete()) {
        response.write(QByteArray(), HttpResponse::Part::Last);
    }
    qDebug("HttpConnectionHandler (%p): finished request", static_cast<void *>(this));
    m_isClosing = isLast || !response.hasKnownEnd() || response.header("Connection").toLower() == "close";
}

void HttpConversation::callHandler(HttpResponse &response)
{
    try {
        m_handler.service(m_parser.request(), response);
    } catch (...) { // not ours; a handler's library may throw
        qDebug("HttpConnectionHandler (%p): An uncatched exception occured in the request handler",
               static_cast<void *>(this));
        if (!response.isHeadWritten()) {
            response.setStatus(500, QByteArrayLiteral("Internal Server Error"));
        }
    }
}

void HttpConversation::refuse()
{
    QByteArray status;
    QByteArray text;
    switch (m_parser.refusal()) {
    case HttpRefusal::None:
    case HttpRefusal::TooLarge:
        status = QByteArrayLiteral("413 entity too large");
        text = QByteArrayLiteral("413 Entity too large");
        break;
    case HttpRefusal::FieldTooLarge:
        status = QByteArrayLiteral("413 entity too large");
        text = "413 The fields of the form, without its files, are larger than " +
               QByteArray::number(m_settings.maxRequestSize) + " bytes";
        break;
    case HttpRefusal::BadRequest:
        status = text = QByteArrayLiteral("400 Bad Request");
        break;
    case HttpRefusal::NotImplemented:
        status = text = QByteArrayLiteral("501 Not Implemented");
        break;
    case HttpRefusal::VersionNotSupported:
        status = text = QByteArrayLiteral("505 HTTP Version Not Supported");
        break;
    case HttpRefusal::NoRoom:
        status = text = QByteArrayLiteral("507 Insufficient Storage");
        break;
    }
    m_output.append("HTTP/1.1 " + status + "\r\nConnection: close\r\n\r\n" + text + "\r\n");
    m_isClosing = true;
}
