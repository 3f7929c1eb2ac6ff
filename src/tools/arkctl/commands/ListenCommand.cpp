#include "tools/arkctl/commands/ListenCommand.h"
#include "tools/arkctl/Command.h"

#include <QHostAddress>

namespace {
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

ListenCommand::ListenCommand(const RunOptions &options, const ListChange &change, Rendering::Form form)
    : LinkRun(tool(), options)
    , m_change(change)
    , m_form(form)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::TextReply) {
            take(message.body);
        }
    });
}

void ListenCommand::begin()
{
    client().sendTextCommand(m_change.kind == ListChange::Kind::None ? "listenstatus?" : "listening?");
    awaitAnswer();
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
    awaitAnswer();
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

namespace {
struct ListenArguments
{
    std::vector<std::string> addresses;
    bool wantsJson = false;
};

Outcome runListen(const ListenArguments &arguments, ListChange::Kind kind, const RunOptions &options)
{
    ListChange change{ kind };
    for (const std::string &text : arguments.addresses) {
        const QString address = QString::fromStdString(text);
        const QHostAddress parsed(address);
        if (parsed.protocol() != QAbstractSocket::IPv4Protocol || parsed.toString() != address) {
            return wrongUse("not an IPv4 address: " + text);
        }
        change.addresses << address;
    }
    return ListenCommand(options, change, formOf(arguments.wantsJson)).run();
}
} // namespace

Command listenCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word =
        app.addWord("listen", "Show, or change, the controllers whose ports this one listens to");
    const auto arguments = std::make_shared<ListenArguments>();
    word->needsWord(false);
    word->explain({ "Without a command it shows the list: unconnected; connected, while the other has not "
                    "told its system number; linked.",
                    { { "arkctl listen", "" },
                      { "arkctl listen add 10.0.0.7 10.0.0.8", "" },
                      { "arkctl listen remove 10.0.0.7", "" } } });
    addJsonFlag(*word, arguments->wantsJson, "One JSON object per line: address, status, state");
    CommandLine::Word *const add = word->addWord("add", "Listen to these too");
    CommandLine::Word *const remove = word->addWord("remove", "Listen to these no longer");
    for (CommandLine::Word *change : { add, remove }) {
        change->add("ADDRESS", arguments->addresses, "IPv4 addresses").required();
        change->takesOptionsAbove();
    }
    const auto run = [add, remove, arguments](const RunOptions &options) {
        const auto kind = add->isGiven()      ? ListChange::Kind::Add
                          : remove->isGiven() ? ListChange::Kind::Remove
                                              : ListChange::Kind::None;
        return runListen(*arguments, kind, options);
    };
    return { word, run };
}
