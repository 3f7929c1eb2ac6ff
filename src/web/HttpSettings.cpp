#include "web/HttpSettings.h"

#include <QDir>
#include <QSettings>

#include <limits>

namespace {
/// The number under a key, when it is one from the least to the most.
std::optional<int> number(const QSettings &settings, const char *key, int least, int most)
{
    bool isNumber = false;
    const int value = settings.value(QLatin1String(key)).toString().trimmed().toInt(&isNumber);
    return isNumber && value >= least && value <= most ? std::optional(value) : std::nullopt;
}

void takeFile(QString &file, const QSettings &settings, const char *key, const QString &directory)
{
    const QString name = settings.value(QLatin1String(key)).toString().trimmed();
    if (!name.isEmpty()) {
        file = QDir(directory).absoluteFilePath(name);
    }
}
} // namespace

void HttpSettings::take(const QSettings &settings, const QString &directory)
{
    constexpr int kAny = std::numeric_limits<int>::max();
    if (const QHostAddress address(settings.value(QStringLiteral("host")).toString().trimmed()); !address.isNull()) {
        host = address;
    }
    if (const auto value = number(settings, "port", 0, 65535)) {
        port = static_cast<quint16>(*value);
    }
    maxThreads = number(settings, "maxThreads", 1, kAny).value_or(maxThreads);
    readTimeoutMs = number(settings, "readTimeout", 1, kAny).value_or(readTimeoutMs);
    maxRequestSize = number(settings, "maxRequestSize", 1, kAny / 2).value_or(maxRequestSize);
    maxMultiPartSize = number(settings, "maxMultiPartSize", 1, kAny / 2).value_or(maxMultiPartSize);
    takeFile(sslKeyFile, settings, "sslKeyFile", directory);
    takeFile(sslCertFile, settings, "sslCertFile", directory);
}
