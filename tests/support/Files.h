#pragma once
#include <QDir>
#include <QFile>
#include <QFileInfo>

/// Writes a whole file, and makes the folders above it.
inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// The whole file; "nothing" when there is none.
inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
}
