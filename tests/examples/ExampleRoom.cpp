#include "ExampleRoom.h"

#include "compiler/Compiler.h"

#include <QDir>
#include <QRegularExpression>

namespace {
/// Replaces the values of constants in a source; gives the names that it has found.
QStringList replaceConstants(QString &source, const ExampleRoom::Constants &constants)
{
    QStringList found;
    for (auto one = constants.begin(); one != constants.end(); ++one) {
        const QRegularExpression form(QStringLiteral("(\\b%1(?:\\[\\])?\\s*= )[^/\\n]*").arg(one.key()));
        const QRegularExpressionMatch match = form.match(source);
        if (match.hasMatch()) {
            source.replace(match.capturedStart(), match.capturedLength(),
                           match.captured(1) + one.value() + QLatin1Char(' '));
            found << one.key();
        }
    }
    return found;
}

QString write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? QString() : file.errorString();
}
} // namespace

QString ExampleRoom::prepare(const QString &program, const Constants &constants)
{
    const QFileInfo original(QStringLiteral(EXAMPLES_DIRECTORY "/") + program);
    QStringList missing = constants.keys();
    for (const QFileInfo &info : original.dir().entryInfoList({ QStringLiteral("*.src") }, QDir::Files)) {
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly)) {
            return info.filePath() + QLatin1Char(' ') + file.errorString();
        }
        QString source = QString::fromUtf8(file.readAll());
        for (const QString &name : replaceConstants(source, constants)) {
            missing.removeAll(name);
        }
        const QString problem = write(filePath(info.fileName()), source.toUtf8());
        if (!problem.isEmpty()) {
            return problem;
        }
    }
    if (!missing.isEmpty()) {
        return QStringLiteral("the example has no ") + missing.join(QStringLiteral(", "));
    }
    const CompileResult result = compileFile(filePath(original.fileName()));
    return result.isGood() ? write(filePath(QStringLiteral("program.pobj")), result.objectFile) : result.text();
}

SeenPanel::SeenPanel(int number)
    : client({ 1, number, "panel", "1" })
{
    QObject::connect(&client, &LinkClient::received, &client, [this](const LinkMessage &message) { take(message); });
}

void SeenPanel::press(int channel)
{
    client.push(channel);
    client.release(channel);
}

void SeenPanel::take(const LinkMessage &message)
{
    if (message.kind == LinkMessage::Kind::RangeStatus) {
        show(static_cast<int>(message.number("channel")), message.number("status") != 0);
    } else if (message.kind == LinkMessage::Kind::Levels) {
        for (const LinkMessage::Pair &pair : message.pairs) {
            m_levels[static_cast<int>(pair.first)] = static_cast<int>(pair.second);
        }
    } else if (message.kind == LinkMessage::Kind::Command) {
        const QByteArray text = message.field("text");
        if (text.startsWith("status-")) {
            m_texts << QString::fromUtf8(text.mid(7));
        }
    } else if (message.kind == LinkMessage::Kind::Snapshot) {
        for (const SnapshotRecord &record : decodeSnapshot(message.body)) {
            if (record.channel > 0) {
                show(record.channel, record.status != 0);
            } else {
                m_levels[record.third] = record.fourth;
            }
        }
    }
}

void SeenPanel::show(int channel, bool isOn)
{
    if (isOn) {
        m_lit.insert(channel);
    } else {
        m_lit.remove(channel);
    }
}
