#pragma once
#include <QHostAddress>
#include <QString>

#include <optional>

class QSettings;

/// How the web server listens, and what it takes from a client. The values here are those of a group without keys.
struct HttpSettings
{
    QHostAddress host = QHostAddress(QHostAddress::Any);
    std::optional<quint16> port; // nothing: there is no web server; 0: any free one
    int maxThreads = 100;        // connections that are served at once
    qint64 readTimeoutMs = 10000;
    int maxRequestSize = 16000;     // bytes of request line and headers; and of a body that is kept in memory
    int maxMultiPartSize = 1000000; // bytes of a multipart/form-data body
    QString sslKeyFile;             // TLS only when both are set and readable
    QString sslCertFile;

    /// A client that has been in the middle of something for so long, and has done hardly anything, may lose its place.
    qint64 stallAfterMs = 5000; // not a key

    /// Takes over the keys that the settings' current group has; the others, and values that make no sense, stay.
    /// \param directory  what relative names of the TLS files are relative to
    void take(const QSettings &settings, const QString &directory);
};
