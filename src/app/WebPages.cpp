#include "app/WebPages.h"

#include "base/Messages.h"
#include "web/FileController.h"
#include "web/HttpListener.h"

#include <QDebug>
#include <QSettings>

namespace {
HttpSettings webSettings(const QString &dataDirectory, const Options &options)
{
    HttpSettings web;
    for (const QString &file : { QStringLiteral(":/web.ini"), dataDirectory + QStringLiteral("/web.ini") }) {
        QSettings settings(file, QSettings::IniFormat);
        settings.beginGroup(QStringLiteral("listener"));
        web.take(settings, dataDirectory);
    }
    if (options.httpPort) {
        web.port = options.httpPort;
    }
    if (options.bindAddress != QHostAddress(QHostAddress::Any)) {
        web.host = options.bindAddress;
    }
    return web;
}
} // namespace

WebPages::WebPages(const QString &dataDirectory, const Options &options)
    : m_files(std::make_unique<FileController>(dataDirectory + QStringLiteral("/web")))
{
    const HttpSettings settings = webSettings(dataDirectory, options);
    m_listener = std::make_unique<HttpListener>(settings, *m_files);
    if (!m_listener->warning().isEmpty()) {
        qWarning().noquote() << m_listener->warning();
    }
    if (!m_listener->isListening() && !options.httpPort) {
        qWarning().noquote() << m_listener->error();
        qWarning("Failed to listen on port %d", settings.port.value_or(0));
    } else if (m_listener->isListening() && settings.port == 0) { // nobody could know it otherwise
        qInfo().noquote() << translated(QT_TRANSLATE_NOOP("messages", "Web pages on port %1")).arg(m_listener->port());
    }
}

WebPages::~WebPages() = default;

QString WebPages::error() const
{
    return m_listener->isListening() ? QString() : m_listener->error();
}
