#include "web/FileController.h"
#include "web/ByteRange.h"

#include <QDateTime>

namespace {
constexpr int kOk = 200;
constexpr int kPartialContent = 206;
constexpr int kNotModified = 304;
constexpr int kNotFound = 404;
constexpr int kRangeNotSatisfiable = 416;

/// A date as text; made anew only when the second is another one.
QByteArray dateText(std::time_t seconds)
{
    thread_local std::time_t lastSeconds = -1;
    thread_local QByteArray lastText;
    if (seconds != lastSeconds) {
        lastSeconds = seconds;
        lastText = HttpText::date(seconds);
    }
    return lastText;
}

std::string_view view(const QByteArray &bytes)
{
    return { bytes.constData(), static_cast<size_t>(bytes.size()) };
}

/// One of the tags in If-None-Match, with or without the quotes and the mark that a cache may have added.
bool listsTag(std::string_view list, std::string_view tag)
{
    const std::string quoted = '"' + std::string(tag) + '"';
    return HttpText::trimmed(list) == "*" || HttpText::listHas(list, tag) || HttpText::listHas(list, quoted) ||
           HttpText::listHas(list, "W/" + quoted);
}

/// The client has this very file. The tag is not enough: files of one size share it. Nor is a later time: an archive
/// brings files with times of their own, which may be older than those of the files that they replace.
bool isKnownToClient(const HttpRequest &request, const WebFile &file)
{
    if (!request.hasHeader("if-modified-since")) {
        return false; // nearly always
    }
    const auto since = HttpText::parseDate(request.header("if-modified-since"));
    return since && *since == file.modified() &&
           (!request.hasHeader("if-none-match") || listsTag(request.header("if-none-match"), view(file.etag)));
}

/// A client that goes on with an old download says what it has the beginning of.
bool isRangeOfThis(const HttpRequest &request, const WebFile &file)
{
    const std::string_view old = request.header("if-range");
    return old.empty() || old == view(file.lastModified) || listsTag(old, view(file.etag));
}

void setServerAndDate(HttpResponse &response)
{
    response.setHeader(QByteArrayLiteral("Server"), QByteArrayLiteral("Tessweb 1.0"));
    response.setHeader(QByteArrayLiteral("Date"), dateText(QDateTime::currentSecsSinceEpoch()));
}

void setValidators(HttpResponse &response, const WebFile &file)
{
    response.setHeader(QByteArrayLiteral("ETag"), file.etag);
    response.setHeader(QByteArrayLiteral("Last-Modified"), file.lastModified);
}

void writeNoPage(HttpResponse &response)
{
    response.setStatus(kNotFound, QByteArrayLiteral("Not Found"));
    response.setHeader(QByteArrayLiteral("Content-Type"), QByteArrayLiteral("text/html"));
    response.setHeader(QByteArrayLiteral("Accept-Ranges"), QByteArrayLiteral("bytes"));
    response.setHeader(QByteArrayLiteral("Server"), QByteArrayLiteral("Tessweb 1.0"));
    response.write(QByteArrayLiteral("<html>404</html>"), HttpResponse::Part::Last);
}

void writeNotModified(HttpResponse &response, const WebFile &file)
{
    response.setStatus(kNotModified, QByteArrayLiteral("Not Modified"));
    setServerAndDate(response);
    setValidators(response, file);
    response.write(QByteArray(), HttpResponse::Part::Last);
}

void writeNoRange(HttpResponse &response, const WebFile &file)
{
    response.setStatus(kRangeNotSatisfiable, QByteArrayLiteral("Range Not Satisfiable"));
    setServerAndDate(response);
    response.setHeader(QByteArrayLiteral("Accept-Ranges"), QByteArrayLiteral("bytes"));
    response.setHeader(QByteArrayLiteral("Content-Range"), "bytes */" + QByteArray::number(file.size()));
    response.write(QByteArray(), HttpResponse::Part::Last);
}

void writeFile(HttpResponse &response, const WebDirectory::Opened &opened, int status,
               const std::optional<ByteRange> &range)
{
    const WebFile &file = *opened.file;
    const qint64 first = range ? range->first : 0;
    const qint64 count = range ? range->size() : file.size();
    response.setStatus(status, QByteArrayLiteral("OK"));
    setServerAndDate(response);
    response.setHeader(QByteArrayLiteral("Content-Type"), file.contentType);
    response.setHeader(QByteArrayLiteral("Accept-Ranges"), QByteArrayLiteral("bytes"));
    if (range) {
        response.setHeader(QByteArrayLiteral("Content-Range"), "bytes " + QByteArray::number(first) + '-' +
                                                                   QByteArray::number(range->last) + '/' +
                                                                   QByteArray::number(file.size()));
    }
    response.setHeader(QByteArrayLiteral("Content-Length"), QByteArray::number(count));
    setValidators(response, file);
    if (opened.descriptor) {
        response.writeFile(opened.descriptor, first, count);
    } else {
        const int start = static_cast<int>(first);
        response.write(range ? file.content.mid(start, static_cast<int>(count)) : file.content,
                       HttpResponse::Part::Last);
    }
}
} // namespace

FileController::FileController(const QString &webDirectory, std::time_t settledAfterSeconds)
    : m_directory(webDirectory, settledAfterSeconds)
{}

void FileController::service(const HttpRequest &request, HttpResponse &response)
{
    WebDirectory::Opened opened = openFor(request.path());
    int status = kOk;
    if (opened.access == WebDirectory::Access::Missing) {
        m_directory.make();
        opened = m_directory.open(QByteArrayLiteral("404.html"));
        status = kNotFound;
    }
    if (opened.access != WebDirectory::Access::Open) {
        writeNoPage(response);
        return;
    }
    const std::string_view header = request.header("range");
    if (status == kNotFound) {
        writeFile(response, opened, kNotFound, std::nullopt);
    } else if (isKnownToClient(request, *opened.file)) {
        writeNotModified(response, *opened.file);
    } else if (!ByteRange::isMeant(header) || !isRangeOfThis(request, *opened.file)) {
        writeFile(response, opened, kOk, std::nullopt);
    } else if (const auto range = ByteRange::parse(header, opened.file->size())) {
        writeFile(response, opened, kPartialContent, range);
    } else {
        writeNoRange(response, *opened.file);
    }
}

WebDirectory::Opened FileController::openFor(const QByteArray &path)
{
    if (path == "/" || path == "/index.html" || path == "/index.htm") {
        const WebDirectory::Opened index = m_directory.open(QByteArrayLiteral("index.html"));
        return index.access == WebDirectory::Access::Missing ? m_directory.open(QByteArrayLiteral("index.htm")) : index;
    }
    return m_directory.open(path.startsWith('/') ? path.mid(1) : path);
}
