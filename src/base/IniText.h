#pragma once
#include <QByteArray>
#include <QVariantMap>

/// The text of an INI file in the dialect of QSettings, which wrote our files before. Read and written here, because
/// QSettings takes lock files, on which a process that was killed lets the next one wait, and hides what goes wrong.
/// Keys in a section are "section/key". Values are QString, QStringList and QByteArray; numbers and truth values are
/// written too, and are read as QString.
namespace IniText {
struct Content
{
    QVariantMap values;
    bool isWhole = true; // false: some lines make no sense, the values are those of the others
};

Content parse(const QByteArray &text);
QByteArray write(const QVariantMap &values);

/// A key as QSettings took it: no empty parts between slashes. Empty: no key.
QString key(const QString &text);
} // namespace IniText
