#include "base/KeptFile.h"

#include "base/FileReplacement.h"
#include "base/Messages.h"
#include "base/Monitor.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

#include <cstdio>

#include <unistd.h>

namespace {
void report(MonitorMessageType type, const QString &text)
{
    qWarning().noquote() << text;
    monitorLog(type, text);
}

/// A name beside it that is free; the last one is used again when so many are there that nobody can have looked.
QString nameAside(const QString &path)
{
    constexpr int kMostAside = 9;
    QString name;
    for (int number = 1; number <= kMostAside; ++number) {
        name = QStringLiteral("%1.damaged-%2").arg(path).arg(number);
        if (!QFileInfo::exists(name)) {
            break;
        }
    }
    return name;
}
} // namespace

KeptFile::Content KeptFile::load() const
{
    QFile file(m_path);
    if (!file.exists()) {
        return {};
    }
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly)) {
        bytes = file.readAll();
    }
    if (file.error() != QFileDevice::NoError) {
        return { {}, false, file.errorString() };
    }
    return { bytes, true, std::nullopt };
}

KeptFile::Content KeptFile::read() const
{
    Content content = load();
    if (content.problem) {
        setAside(*content.problem);
        ::unlink(QFile::encodeName(m_path).constData());
    }
    return content;
}

void KeptFile::setAside(const QString &what) const
{
    const QString aside = nameAside(m_path);
    const QByteArray from = QFile::encodeName(m_path);
    const QByteArray to = QFile::encodeName(aside);
    // A second name rather than a new one: what can be read of it takes its place whole, or it stays.
    const bool isKept =
        ::link(from.constData(), to.constData()) == 0 || std::rename(from.constData(), to.constData()) == 0;
    report(MonitorMessageType::Error,
           isKept ? translated(QT_TRANSLATE_NOOP("messages", "%1 cannot be read whole: %2; it is kept as %3"))
                        .arg(m_path, what, QFileInfo(aside).fileName())
                  : translated(QT_TRANSLATE_NOOP("messages", "%1 cannot be read whole: %2")).arg(m_path, what));
}

QString KeptFile::complaint() const
{
    return translated(QT_TRANSLATE_NOOP("messages", "Cannot save %1: %2")).arg(m_path, m_problem.value_or(QString()));
}

bool KeptFile::save(const QByteArray &content)
{
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    return settle(FileReplacement::write(m_path, content));
}

bool KeptFile::remove()
{
    return settle(FileReplacement::remove(m_path));
}

bool KeptFile::settle(const std::optional<QString> &problem)
{
    if (problem && problem != m_problem) {
        m_problem = problem;
        report(MonitorMessageType::Error, complaint());
    } else if (!problem && m_problem) {
        report(MonitorMessageType::System, translated(QT_TRANSLATE_NOOP("messages", "%1 is saved again")).arg(m_path));
    }
    m_problem = problem;
    return !problem;
}
