#include "tools/arkctl/screen/PanelLog.h"
#include "tools/arkctl/screen/ScreenText.h"
#include <QStringList>

namespace {
constexpr size_t kMostLines = 2000;
constexpr int kMostBytes = 1000;      // of a value; no terminal shows more of it
constexpr int kMostCharacters = 1000; // of a line

QString text(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes.left(kMostBytes));
}

QString switched(qint64 channel, qint64 status)
{
    const QString state = status == 0 ? QStringLiteral("off") : QStringLiteral("on");
    return QStringLiteral("%1 %2").arg(channel).arg(state);
}

QString pairs(const LinkMessage &message, bool isLevel)
{
    QStringList parts;
    for (const LinkMessage::Pair &pair : message.pairs) {
        parts << (isLevel ? QStringLiteral("%1 = %2").arg(pair.first).arg(pair.second)
                          : switched(pair.first, pair.second));
    }
    return parts.join(QStringLiteral(", "));
}

QString single(const LinkMessage &message)
{
    return switched(message.number("channel"), message.number("status"));
}

QString assigned(const LinkMessage &message)
{
    return QStringLiteral("%1 = %2").arg(text(message.field("property")), text(message.field("value")));
}

QString rangeStatus(const LinkMessage &message)
{
    const qint64 first = message.number("first");
    const qint64 last = message.number("last");
    const QString group = first < last ? QStringLiteral(" (group %1-%2)").arg(first).arg(last) : QString();
    return QStringLiteral("button ") + single(message) + group;
}

QString question(const LinkMessage &message)
{
    QString words = QStringLiteral("asks for %1");
    const QByteArray property = message.field("property");
    QString what = message.kind == LinkMessage::Kind::StatusQuery ? QStringLiteral("the state")
                   : message.kind == LinkMessage::Kind::TextQuery ? QStringLiteral("the text")
                                                                  : text(property);
    if (message.kind == LinkMessage::Kind::PagePropertyQuery) {
        return words.arg(what) + QStringLiteral(" of page ") + text(message.field("page"));
    }
    what += QStringLiteral(" of button ") + text(message.field("channel"));
    const QByteArray state = message.field("state");
    return words.arg(what) + (state.isEmpty() ? QString() : QStringLiteral(", state ") + text(state));
}

QString told(const LinkMessage &message)
{
    using Message = LinkMessage::Kind;
    const QString channels = text(message.field("channels"));
    switch (message.kind) {
    case Message::Information:
    case Message::MonitorLine:
    case Message::TextReply:
        return text(message.field("text"));
    case Message::StatusQuery:
    case Message::TextQuery:
    case Message::PropertyQuery:
    case Message::StatePropertyQuery:
    case Message::PagePropertyQuery:
        return question(message);
    case Message::RangeStatus:
        return rangeStatus(message);
    case Message::ChannelStatuses:
        return QStringLiteral("buttons ") + pairs(message, false);
    case Message::ListStatus:
        return QStringLiteral("button %1 (group %2)").arg(single(message), channels);
    case Message::Levels:
        return QStringLiteral("level ") + pairs(message, true);
    case Message::Command:
        return QStringLiteral("command ") + text(message.field("text"));
    case Message::SetProperty:
        return QStringLiteral("button %1: %2").arg(channels, assigned(message));
    case Message::SetStateProperty:
        return QStringLiteral("button %1, state %2: %3").arg(channels, text(message.field("state")), assigned(message));
    case Message::SetPageProperty:
        return QStringLiteral("page %1: %2").arg(text(message.field("page")), assigned(message));
    case Message::SetContainerProperty:
        return QStringLiteral("container %1: %2").arg(channels, assigned(message));
    case Message::ContainerCall:
        return QStringLiteral("container %1: %2 (%3)")
            .arg(channels, text(message.field("method")), text(message.field("value")));
    case Message::Snapshot:
        return QStringLiteral("%1 saved states").arg(decodeSnapshot(message.body).size());
    case Message::Other:
        return QStringLiteral("message 0x%1, %2 bytes").arg(message.code, 2, 16).arg(message.body.size());
    }
    Q_UNREACHABLE();
}

QString done(const PanelAction &action)
{
    switch (action.kind) {
    case PanelAction::Kind::Push:
        return QStringLiteral("push %1").arg(action.code);
    case PanelAction::Kind::Release:
        return QStringLiteral("release %1").arg(action.code);
    case PanelAction::Kind::Level:
        return QStringLiteral("level %1 = %2").arg(action.code).arg(action.value);
    case PanelAction::Kind::Wait:
        break; // scripts wait, people do not
    }
    return {};
}
} // namespace

void PanelLog::addMessage(QTime when, const LinkMessage &message)
{
    const bool isCommand = message.kind == LinkMessage::Kind::Command;
    add(when, isCommand ? Source::Program : Source::Controller, told(message));
}

void PanelLog::addAction(QTime when, const PanelAction &action)
{
    add(when, Source::Panel, done(action));
}

void PanelLog::addNote(QTime when, const QString &text)
{
    add(when, Source::Link, text);
}

void PanelLog::add(QTime when, Source source, const QString &text)
{
    const QString shown = ScreenText::printable(ScreenText::start(text, kMostCharacters));
    m_lines.push_back({ when, source, ScreenText::start(shown, kMostCharacters) });
    if (m_lines.size() > kMostLines) {
        m_lines.pop_front();
        ++m_forgotten;
    }
}
