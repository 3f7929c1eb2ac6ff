#include "web/HttpRequestParser.h"
#include "web/HttpMultipart.h"

#include <QDebug>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {
constexpr char kInvalidFirstLine[] = "HttpRequest: received broken HTTP request, invalid first line";
constexpr char kInvalidHeader[] = "HttpRequest: received broken HTTP request, invalid header";
constexpr char kInvalidLength[] = "HttpRequest: received broken HTTP request, unclear length of the body";
constexpr char kTooManyBytes[] = "HttpRequest: received too many bytes";

bool isNumber(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](unsigned char digit) { return std::isdigit(digit) != 0; });
}

/// A number of any size; beyond what fits it counts as the most that does.
qint64 numberOf(std::string_view digits)
{
    bool fits = false;
    const qint64 number = QByteArray(digits.data(), static_cast<int>(digits.size())).toLongLong(&fits);
    return fits ? number : std::numeric_limits<qint64>::max();
}

/// A third word that begins like this is a version; whether we speak it is another question.
bool isVersion(std::string_view text)
{
    return text.size() == 8 && text.substr(0, 5) == "HTTP/" && isNumber(text.substr(5, 1)) && text[6] == '.' &&
           isNumber(text.substr(7));
}
} // namespace

HttpRequestParser::HttpRequestParser(const HttpSettings &limits)
    : m_limits(limits)
{}

bool HttpRequestParser::hasBegun() const
{
    return !m_request.m_head.isEmpty();
}

bool HttpRequestParser::isContinueWanted() const
{
    return m_state == State::Body && !m_hasBodyBytes && !m_request.isHttp10() &&
           HttpText::isSame(m_request.header("expect"), "100-continue");
}

int HttpRequestParser::feed(const char *bytes, int count)
{
    int used = 0;
    while (used < count && m_state < State::Complete) {
        if (m_state != State::Body) {
            used += takeLine(bytes + used, count - used);
            continue;
        }
        m_hasBodyBytes = true;
        used += m_body.feed(bytes + used, count - used);
        if (m_body.refusal() != HttpRefusal::None) {
            m_refusal = m_body.refusal();
            m_state = State::Aborted;
        } else if (m_body.isDone()) {
            endOfBody();
        }
    }
    return used;
}

void HttpRequestParser::reset()
{
    m_request.clear();
    m_state = State::RequestLine;
    m_refusal = HttpRefusal::None;
    m_lineStart = 0;
    m_hasBodyBytes = false;
}

int HttpRequestParser::takeLine(const char *bytes, int count)
{
    const void *const found = std::memchr(bytes, '\n', static_cast<size_t>(count));
    const int piece = found ? static_cast<int>(static_cast<const char *>(found) - bytes) + 1 : count;
    QByteArray &head = m_request.m_head;
    if (piece > m_limits.maxRequestSize - head.size()) {
        abort(HttpRefusal::TooLarge, kTooManyBytes);
        return piece;
    }
    head.append(bytes, piece);
    if (found) {
        const int start = std::exchange(m_lineStart, head.size());
        const bool hasReturn = head.size() - start >= 2 && head.at(head.size() - 2) == '\r';
        readLine(start, head.size() - start - (hasReturn ? 2 : 1));
    }
    return piece;
}

void HttpRequestParser::readLine(int start, int size)
{
    const std::string_view line = m_request.view({ start, size });
    if (m_state == State::RequestLine) {
        if (!line.empty()) { // a line end too many behind the last request does no harm
            readRequestLine(line, start);
        }
    } else if (line.empty()) {
        endOfHead();
    } else {
        readHeader(line, start);
    }
}

void HttpRequestParser::readRequestLine(std::string_view line, int start)
{
    const size_t first = line.find(' ');
    const size_t last = line.rfind(' ');
    const bool hasThree = first != std::string_view::npos && last - first > 1 && first > 0 && last + 1 < line.size() &&
                          line.find(' ', first + 1) == last;
    if (!hasThree || line.substr(last + 1, 5) != "HTTP/") {
        abort(HttpRefusal::TooLarge, kInvalidFirstLine); // is answered like a request that is too large
        return;
    }
    const auto piece = [start](size_t from, size_t to) {
        return HttpRequest::Piece{ start + static_cast<int>(from), static_cast<int>(to - from) };
    };
    m_request.m_method = piece(0, first);
    m_request.m_target = piece(first + 1, last);
    m_request.m_version = piece(last + 1, line.size());
    if (!HttpText::isToken(m_request.method()) || HttpText::hasControls(line) ||
        line.find('\t') != std::string_view::npos || !isVersion(m_request.version())) {
        abort(HttpRefusal::BadRequest, kInvalidFirstLine);
    } else if (m_request.version().substr(0, 7) != "HTTP/1.") {
        abort(HttpRefusal::VersionNotSupported, kInvalidFirstLine);
    } else {
        m_state = State::Headers;
    }
}

void HttpRequestParser::readHeader(std::string_view line, int start)
{
    const size_t colon = line.find(':');
    // A name with a blank behind it, or a line that continues the one before: others may read them in another way.
    if (colon == std::string_view::npos || !HttpText::isToken(line.substr(0, colon)) || HttpText::hasControls(line)) {
        abort(HttpRefusal::BadRequest, kInvalidHeader);
        return;
    }
    const auto name = m_request.m_head.begin() + start;
    std::transform(name, name + static_cast<int>(colon), name, [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    });
    const std::string_view value = HttpText::trimmed(line.substr(colon + 1));
    const int valueStart = value.empty() ? start : static_cast<int>(value.data() - m_request.m_head.constData());
    m_request.m_headers.push_back(
        { { start, static_cast<int>(colon) }, { valueStart, static_cast<int>(value.size()) } });
}

void HttpRequestParser::endOfHead()
{
    if (const HttpRefusal refusal = checkFraming(); refusal != HttpRefusal::None) {
        abort(refusal, kInvalidLength);
        return;
    }
    readPath();
    beginBody();
}

HttpRefusal HttpRequestParser::checkFraming() const
{
    // Two ways to read where a request ends are a way to smuggle another one in.
    const int codings = m_request.headerCount("transfer-encoding");
    const int lengths = m_request.headerCount("content-length");
    if (codings + lengths > 1 || m_request.headerCount("host") > 1 || (codings > 0 && m_request.isHttp10()) ||
        (lengths > 0 && !isNumber(m_request.header("content-length")))) {
        return HttpRefusal::BadRequest;
    }
    if (codings > 0 && !HttpText::isSame(m_request.header("transfer-encoding"), "chunked")) {
        return HttpRefusal::NotImplemented;
    }
    return HttpRefusal::None;
}

void HttpRequestParser::readPath()
{
    std::string_view target = m_request.view(m_request.m_target);
    for (const std::string_view scheme : { "http://", "https://" }) { // as a proxy asks
        if (HttpText::startsWith(target, scheme)) {
            target.remove_prefix(std::min(target.find_first_of("/?", scheme.size()), target.size()));
            break;
        }
    }
    target = target.substr(0, target.find('#'));
    const size_t query = target.find('?');
    if (query != std::string_view::npos) {
        m_request.m_parameters = HttpText::formFields(target.substr(query + 1));
    }
    m_request.m_path = HttpText::percentDecoded(target.substr(0, query));
    if (m_request.m_path.isEmpty()) {
        m_request.m_path = QByteArrayLiteral("/");
    }
}

void HttpRequestParser::beginBody()
{
    m_state = State::Body;
    const bool isChunked = m_request.hasHeader("transfer-encoding");
    const bool isMultipart = multipartBoundary().has_value();
    const HttpBody::Keep keep = isMultipart ? HttpBody::Keep::OnDisk : HttpBody::Keep::InMemory;
    const int most = isMultipart ? m_limits.maxMultiPartSize : m_limits.maxRequestSize;
    const qint64 length = numberOf(m_request.hasHeader("content-length") ? m_request.header("content-length") : "0");
    if (length > most) {
        abort(HttpRefusal::TooLarge, isMultipart ? "HttpRequest: expected multipart body is too large"
                                                 : "HttpRequest: expected body is too large");
    } else if (isChunked) {
        m_body.beginChunked(most, keep);
    } else if (length > 0) {
        m_body.begin(length, keep);
    } else {
        readParameters();
        m_state = State::Complete;
    }
    if (m_state == State::Body && m_body.refusal() != HttpRefusal::None) { // said before the client sends it
        m_refusal = m_body.refusal();
        m_state = State::Aborted;
    }
}

std::optional<QByteArray> HttpRequestParser::multipartBoundary() const
{
    constexpr int kMaxBoundary = 70;
    const std::string_view type = m_request.header("content-type");
    if (!HttpText::startsWith(type, "multipart/form-data")) {
        return std::nullopt;
    }
    const auto boundary = HttpText::parameter(type, "boundary");
    return boundary && !boundary->isEmpty() && boundary->size() <= kMaxBoundary ? boundary : std::nullopt;
}

void HttpRequestParser::endOfBody()
{
    m_request.m_body = m_body.takeBytes();
    if (const auto file = m_body.takeFile()) {
        HttpMultipart form = HttpMultipart::parse(file, *multipartBoundary(), m_limits.maxRequestSize);
        if (form.isTooLarge) {
            abort(HttpRefusal::FieldTooLarge, "HttpRequest: received too many multipart bytes");
            return;
        }
        m_request.m_parameters += form.parameters;
        m_request.m_uploads = std::move(form.uploads);
    }
    readParameters();
    m_state = State::Complete;
}

void HttpRequestParser::readParameters()
{
    const QByteArray &body = m_request.m_body;
    if (!body.isEmpty() &&
        HttpText::startsWith(m_request.header("content-type"), "application/x-www-form-urlencoded")) {
        m_request.m_parameters += HttpText::formFields({ body.constData(), static_cast<size_t>(body.size()) });
    }
    if (m_request.hasHeader("cookie")) {
        m_request.m_cookies = HttpText::cookieFields(m_request.header("cookie"));
    }
}

void HttpRequestParser::abort(HttpRefusal refusal, const char *why)
{
    qDebug("%s", why);
    m_refusal = refusal;
    m_state = State::Aborted;
}
