#include "web/HttpRequestHandler.h"

#include <QDebug>

void HttpRequestHandler::service(const HttpRequest &request, HttpResponse &response)
{
    const auto text = [](std::string_view piece) { return QByteArray(piece.data(), static_cast<int>(piece.size())); };
    qDebug("HttpRequestHandler: request=%s %s %s", text(request.method()).constData(), request.path().constData(),
           text(request.version()).constData());
    qDebug("HttpRequestHandler: you need to override the service() function");
    response.setStatus(501, QByteArrayLiteral("not implemented"));
    response.write(QByteArrayLiteral("501 not implemented"), HttpResponse::Part::Last);
}
