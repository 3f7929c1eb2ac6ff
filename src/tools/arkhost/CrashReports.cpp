#include "tools/arkhost/CrashReports.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace {
constexpr qint64 kMaxDigested = 64LL * 1024 * 1024; // bytes; a larger file would hold up the next start

QByteArray pair(const char *name, const QString &value)
{
    return QByteArray(name).append(':').leftJustified(14) + value.toUtf8() + '\n';
}

/// As a shell would take it, so that the line can be tried by hand.
QString quoted(const QString &argument)
{
    const QLatin1String plain("-_./:=,+@%");
    bool isPlain = !argument.isEmpty();
    for (const QChar character : argument) {
        isPlain = isPlain && (character.isLetterOrNumber() || QString(plain).contains(character));
    }
    QString escaped = argument;
    return isPlain ? argument
                   : QLatin1Char('\'') + escaped.replace(QLatin1Char('\''), QLatin1String("'\\''")) + QLatin1Char('\'');
}

QString digestOf(QFile &file)
{
    if (file.size() > kMaxDigested) {
        return QStringLiteral("none: too large");
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return hash.addData(&file) ? QString::fromLatin1(hash.result().toHex()) : file.errorString();
}

QByteArray objectFileText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return pair("object file", QStringLiteral("%1: %2").arg(path, file.errorString()));
    }
    return pair("object file", path) + pair("size", QStringLiteral("%1 bytes").arg(file.size())) +
           pair("sha256", digestOf(file));
}
} // namespace

QByteArray CrashReport::text() const
{
    QStringList commandLine{ quoted(controller) };
    for (const QString &argument : arguments) {
        commandLine << quoted(argument);
    }
    QByteArray text = pair("time", at.toOffsetFromUtc(at.offsetFromUtc()).toString(Qt::ISODate)) +
                      pair("reason", end.reason()) + pair("uptime", timeText(uptimeSeconds)) +
                      pair("next start", QStringLiteral("after %1 s").arg(static_cast<double>(pauseMs) / 1000)) +
                      pair("starts", QString::number(starts)) + pair("crashes", QString::number(crashes)) +
                      pair("process", QString::number(processId)) + pair("version", version) +
                      pair("command", commandLine.join(QLatin1Char(' '))) + objectFileText(objectFile) +
                      "\nThe last lines of its output:\n\n";
    for (const QByteArray &line : lastLines) {
        text += line + '\n';
    }
    return text;
}

CrashReports::CrashReports(const QString &directory, int howMany)
    : m_directory(directory)
    , m_howMany(howMany)
{}

CrashReports::Outcome CrashReports::write(const CrashReport &report) const
{
    const QString path = freePath(report.at);
    if (!QDir().mkpath(m_directory)) {
        return { path, QStringLiteral("the folder cannot be made") };
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(report.text()) < 0 || !file.commit()) {
        return { path, file.errorString() };
    }
    removeOldBeside(path);
    return { path, {} };
}

QString CrashReports::freePath(const QDateTime &at) const
{
    // Names in the order of time, also of several within a second.
    const QString name = at.toUTC().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    for (int count = 0;; ++count) {
        QString path = QStringLiteral("%1/crash-%2-%3.txt").arg(m_directory, name).arg(count, 2, 10, QLatin1Char('0'));
        if (!QFileInfo::exists(path)) {
            return path;
        }
    }
}

void CrashReports::removeOldBeside(const QString &newest) const
{
    QDir directory(m_directory);
    QStringList names = directory.entryList({ QStringLiteral("crash-*-*-*.txt") }, QDir::Files, QDir::Name);
    names.removeAll(QFileInfo(newest).fileName()); // with a clock that was set back it would count as an old one
    while (names.size() >= m_howMany) {
        directory.remove(names.takeFirst());
    }
}
