#include "tools/arkctl/ListenCommand.h"
#include "net/LinkCodes.h"
#include <QTimer>

namespace {
constexpr int kToolNumber = 100; // no device: the program's online handlers leave it alone

LinkClient::Identity tool(const QByteArray &version)
{
    return { PeerType::kManagementTool, kToolNumber, "arkctl", version };
}

/// What follows the keyword; nothing when the reply is another one.
std::optional<QByteArray> after(const char *keyword, const QByteArray &reply)
{
    return reply.startsWith(keyword) ? std::optional(reply.mid(static_cast<int>(qstrlen(keyword)))) : std::nullopt;
}
} // namespace

QStringList changedList(const QStringList &list, const ListChange &change, QStringList &missing)
{
    QStringList changed = list;
    for (const QString &address : change.addresses) {
        if (change.kind == ListChange::Kind::Add && !changed.contains(address)) {
            changed << address;
        } else if (change.kind == ListChange::Kind::Remove && changed.removeAll(address) == 0) {
            missing << address;
        }
    }
    return changed;
}

ListenCommand::ListenCommand(const RunOptions &options, const ListChange &change, Rendering::Form form,
                             const QByteArray &version)
    : LinkRun(tool(version), options)
    , m_change(change)
    , m_form(form)
    , m_patience(new QTimer(this))
{
    m_patience->setSingleShot(true);
    m_patience->setInterval(options.timeoutMs);
    connect(m_patience, &QTimer::timeout, this, [this] {
        fail("the controller at " + this->options().endpoint.text() + " does not answer",
             "see whether its program is in a long loop, and try again");
    });
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::TextReply) {
            take(message.body);
        }
    });
}

void ListenCommand::begin()
{
    client().sendTextCommand(m_change.kind == ListChange::Kind::None ? "listenstatus?" : "listening?");
    m_patience->start();
}

void ListenCommand::take(const QByteArray &reply)
{
    if (const auto list = after("listening:", reply)) {
        changeList(QString::fromUtf8(*list).split(QLatin1Char('\n'), Qt::SkipEmptyParts));
    } else if (const auto status = after("listenstatus:", reply)) {
        show(*status);
    }
}

void ListenCommand::changeList(const QStringList &list)
{
    QStringList missing;
    const QStringList changed = changedList(list, m_change, missing);
    if (!missing.isEmpty()) {
        fail(missing.join(QStringLiteral(", ")).toStdString() + " is not in the list of " + options().endpoint.text(),
             "arkctl listen shows it");
        return;
    }
    // A list without an entry only asks, so the empty list is one entry that is no address.
    const QString text = changed.isEmpty() ? QStringLiteral("none") : changed.join(QLatin1Char('\n'));
    client().sendTextCommand("listenstatus?" + text.toUtf8());
    m_patience->start();
}

void ListenCommand::show(const QByteArray &statusStream)
{
    const std::optional<std::vector<Rendering::LinkState>> states = Rendering::linkStates(statusStream);
    if (!states) {
        fail("no list in the answer of " + options().endpoint.text(), "is it a controller of this kind?");
        return;
    }
    QStringList left = m_change.kind == ListChange::Kind::Add ? m_change.addresses : QStringList();
    for (const Rendering::LinkState &state : *states) {
        console().print(Rendering::linkState(m_form, state));
        left.removeAll(state.address);
    }
    if (states->empty() && m_form == Rendering::Form::Text) {
        console().print("The list is empty.");
    }
    if (!left.isEmpty()) {
        fail(left.join(QStringLiteral(", ")).toStdString() + " was not taken by " + options().endpoint.text(),
             "only addresses of single hosts are, and no more than the list holds");
        return;
    }
    finish(Outcome::Done);
}

SystemNumberCommand::SystemNumberCommand(const RunOptions &options, int number, const QByteArray &version)
    : LinkRun(tool(version), options)
    , m_number(number)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind != LinkMessage::Kind::Information) {
            return;
        }
        const QByteArray firstLine = message.body.split('\n').first();
        const QByteArray known = firstLine.mid(firstLine.lastIndexOf('_') + 1);
        if (known == QByteArray::number(m_number)) {
            console().print("system number " + known.toStdString());
            finish(Outcome::Done);
        } else {
            fail("the controller at " + this->options().endpoint.text() + " still has system number " +
                     known.toStdString(),
                 "see whether its settings can be written");
        }
    });
}

void SystemNumberCommand::begin()
{
    client().sendTextCommand("sysnum\n" + QByteArray::number(m_number));
    client().sendPlain(LinkCode::kInformationRequest, QByteArray()); // answered after it was set
    QTimer::singleShot(options().timeoutMs, this, [this] {
        fail("the controller at " + options().endpoint.text() + " does not answer", "try again");
    });
}
