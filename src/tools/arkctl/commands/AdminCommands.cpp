#include "tools/arkctl/commands/AdminCommands.h"
#include "base/SystemNumber.h"
#include "io/HostNetwork.h"
#include "net/link/LinkCodes.h"
#include "tools/arkctl/Command.h"

#include <QRegularExpression>
#include <QTimer>

namespace {
const QString kDateForm = QStringLiteral("yyyy-MM-dd HH:mm:ss");

bool isMac(const std::string &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}\\z"));
    return form.match(QString::fromStdString(text)).hasMatch();
}

QByteArray joinedLines(const QStringList &fields)
{
    return fields.join(QLatin1Char('\n')).toUtf8();
}

/// \param untried  one word behind the others, or none
QByteArray networkText(const HostNetwork &network, const QString &mac, const QStringList &untried = {})
{
    return joinedLines((network.isDhcp ? QStringList{ QStringLiteral("dhcp") }
                                       : QStringList{ QStringLiteral("staticip"), network.ip, network.netmask,
                                                      network.gateway, network.nameServer }) +
                       QStringList{ mac } + untried);
}
} // namespace

InfoRun::InfoRun(const RunOptions &options)
    : LinkRun(tool(), options)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind != LinkMessage::Kind::Information) {
            return;
        }
        answered();
        if (const std::optional<ControllerInfo> info = parseControllerInfo(message.body)) {
            take(*info);
        } else {
            fail("an answer of " + this->options().endpoint.text() + " that makes no sense",
                 "is it a controller of this version?");
        }
    });
}

void InfoRun::ask()
{
    client().sendPlain(LinkCode::kInformationRequest, QByteArray());
    awaitAnswer();
}

void InfoCommand::take(const ControllerInfo &info)
{
    console().print(shownInfo(m_form, info));
    finish(Outcome::Done);
}

void SystemNumberCommand::begin()
{
    client().sendTextCommand("sysnum\n" + QByteArray::number(m_number));
    ask(); // answered after it was set
}

void SystemNumberCommand::take(const ControllerInfo &info)
{
    if (info.systemNumber != m_number) {
        fail("the controller at " + options().endpoint.text() + " still has system number " +
                 std::to_string(info.systemNumber),
             "see whether its settings can be written");
        return;
    }
    console().print("system number " + std::to_string(m_number));
    finish(Outcome::Done);
}

RestartingCommand::RestartingCommand(const RunOptions &options, Text text, const std::string &saidWhenDone)
    : InfoRun(options)
    , m_text(std::move(text))
    , m_saidWhenDone(saidWhenDone)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        static const QByteArray keyword = "network:";
        if (message.kind == LinkMessage::Kind::TextReply && message.body.startsWith(keyword)) {
            fail("the network of the controller at " + this->options().endpoint.text() +
                     " stays as it was: " + message.body.mid(keyword.size()).toStdString(),
                 "--untried stores it for a network that the controller is not in yet");
        }
    });
}

void RestartingCommand::take(const ControllerInfo &info)
{
    constexpr int kTrialMs = 12000; // of a network
    client().sendTextCommand(m_text(info));
    m_isSent = true;
    awaitAnswer(kTrialMs); // which is the end of the connection
}

void RestartingCommand::lost()
{
    if (!m_isSent) {
        InfoRun::lost();
        return;
    }
    console().print(m_saidWhenDone);
    finish(Outcome::Done);
}

DateTimeCommand::DateTimeCommand(const RunOptions &options, const QDateTime &wanted)
    : LinkRun(tool(), options)
    , m_wanted(wanted)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::TextReply) {
            take(message.body);
        }
    });
}

void DateTimeCommand::begin()
{
    client().sendTextCommand(m_wanted.isValid() ? "datetime!" + m_wanted.toString(kDateForm).toUtf8() : "datetime?");
    awaitAnswer();
}

void DateTimeCommand::take(const QByteArray &reply)
{
    static const QByteArray keyword = "datetime:";
    if (reply == "datetimeSet") { // that is: heard
        askLater();
        return;
    }
    if (!reply.startsWith(keyword)) {
        return;
    }
    answered();
    const QString shown = QString::fromUtf8(reply.mid(keyword.size()));
    const qint64 awaySeconds =
        m_wanted.isValid() ? std::abs(m_wanted.secsTo(QDateTime::fromString(shown, kDateForm))) : 0;
    constexpr qint64 kNearSeconds = 10;
    constexpr int kLooks = 5;
    if (awaySeconds <= kNearSeconds) {
        console().print(shown.toStdString());
        finish(Outcome::Done);
    } else if (++m_looks < kLooks) {
        askLater();
    } else {
        fail("the clock of the controller at " + options().endpoint.text() + " still says " + shown.toStdString(),
             "it may change its clock only as root and without --no-system-changes");
    }
}

void DateTimeCommand::askLater()
{
    constexpr int kLookAgainMs = 200;
    answered();
    QTimer::singleShot(kLookAgainMs, this, [this] {
        client().sendTextCommand("datetime?");
        awaitAnswer();
    });
}

Command infoCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("info", "Show the controller's model, version, number and network");
    word->explain({ "The network is that of the settings.",
                    { { "arkctl --host 192.168.1.2 info", "" },
                      { "arkctl info --json | jq -r .version", "one value, for a script" } } });
    const auto wantsJson = std::make_shared<bool>(false);
    addJsonFlag(*word, *wantsJson, "One JSON object");
    return { word, [wantsJson](const RunOptions &options) { return InfoCommand(options, formOf(*wantsJson)).run(); } };
}

Command systemNumberCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("sysnum", "Set the controller's system number");
    word->explain({ "Controllers that use each other's ports need different ones. It is stored, and "
                    "other controllers that are connected connect again.",
                    { { "arkctl --host 192.168.1.2 sysnum 2", "" } } });
    const auto number = std::make_shared<int>(0);
    word->add("NUMBER", *number, "From 1").required().between(1, kLastSystemNumber);
    return { word, [number](const RunOptions &options) { return SystemNumberCommand(options, *number).run(); } };
}

Command rebootCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("reboot", "End the controller; its supervisor starts it again");
    word->explain({ "Works also while its program is in a loop without end. Without a supervisor, such as "
                    "arkhost, it stays off.",
                    { { "arkctl --host 192.168.1.2 reboot", "" } } });
    const auto run = [](const RunOptions &options) {
        return RestartingCommand(
                   options, [](const ControllerInfo &) { return QByteArrayLiteral("reboot"); },
                   "The controller ends; its supervisor starts it again.")
            .run();
    };
    return { word, run };
}

namespace {
struct NetworkArguments
{
    std::vector<std::string> addresses;
    std::string mac;
    bool isUntried = false;
};

Outcome runNetwork(const NetworkArguments &arguments, bool isDhcp, const RunOptions &options)
{
    QStringList addresses;
    for (const std::string &address : arguments.addresses) {
        addresses << QString::fromStdString(address);
        if (!dottedAddress(addresses.last())) {
            return wrongUse("not an IPv4 address: " + address);
        }
    }
    const HostNetwork network{ isDhcp, addresses.value(0), addresses.value(1), addresses.value(2), addresses.value(3) };
    if (const std::optional<QString> problem = problemOf(network)) {
        return wrongUse(problem->toStdString());
    }
    if (!arguments.mac.empty() && !isMac(arguments.mac)) {
        return wrongUse("not a MAC address such as 08:90:00:12:34:56: " + arguments.mac);
    }
    const QStringList untried = arguments.isUntried ? QStringList{ QStringLiteral("untried") } : QStringList();
    const QByteArray text = networkText(network, QString::fromStdString(arguments.mac), untried);
    return RestartingCommand(
               options, [text](const ControllerInfo &) { return text; },
               "Stored. The controller ends and uses it when its supervisor has started it again.")
        .run();
}

QByteArray macText(const ControllerInfo &info, const QString &mac)
{
    return networkText({ info.isDhcp, info.ip, info.netmask, info.gateway, info.nameServer }, mac);
}
} // namespace

Command networkCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("network", "Give the controller a fixed address, or let DHCP do it");
    word->explain(
        { "The controller tries the network first: whether the address is free and the gateway answers, or a DHCP "
          "server does. If not, all stays as it was and the command fails. Else it stores the network, ends, and uses "
          "it when its supervisor has started it again. It changes the system's network only as root.",
          { { "arkctl network static 10.0.0.5 255.0.0.0 10.0.0.1 10.0.0.1", "" }, { "arkctl network dhcp", "" } } });
    word->needsWord();
    const auto arguments = std::make_shared<NetworkArguments>();
    CommandLine::Word *const dhcp = word->addWord("dhcp", "Use DHCP");
    CommandLine::Word *const fixed = word->addWord("static", "Use a fixed address");
    fixed->add("ADDRESSES", arguments->addresses, "IP NETMASK GATEWAY DNS").required().exactly(4);
    for (CommandLine::Word *way : { dhcp, fixed }) {
        way->add("--mac", arguments->mac, "And store this MAC address").named("MAC");
        way->addFlag("--untried", arguments->isUntried, "Do not try it: it is for a network elsewhere");
        way->takesOptionsAbove();
    }
    return { word, [dhcp, arguments](const RunOptions &options) {
                return runNetwork(*arguments, dhcp->isGiven(), options);
            } };
}

Command macCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("mac", "Store a MAC address, with the network settings in force");
    const auto mac = std::make_shared<std::string>();
    word->explain({ "The controller ends and is started again by its supervisor. The file \"mac\" in its "
                    "data folder has the address.",
                    { { "arkctl mac 08:90:00:12:34:56", "" } } });
    word->add("MAC", *mac, "Such as 08:90:00:12:34:56").required();
    const auto run = [mac](const RunOptions &options) {
        if (!isMac(*mac)) {
            return wrongUse("not a MAC address such as 08:90:00:12:34:56: " + *mac);
        }
        const auto text = [mac](const ControllerInfo &info) { return macText(info, QString::fromStdString(*mac)); };
        return RestartingCommand(options, text, "Stored. The controller ends; its supervisor starts it again.").run();
    };
    return { word, run };
}

Command dateTimeCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("datetime", "Show the controller's clock, or set it");
    const auto text = std::make_shared<std::string>();
    word->explain({ "Without WHEN it shows the clock. A controller sets its clock only as root and without "
                    "--no-system-changes; the command fails when it does not.",
                    { { "arkctl datetime now", "the time of this machine" },
                      { "arkctl datetime \"2026-01-31 08:00:00\"", "" } } });
    word->add("WHEN", *text, "now, or \"yyyy-MM-dd HH:mm:ss\" in the controller's time zone").suggests({ "now" });
    const auto run = [text](const RunOptions &options) {
        QDateTime wanted;
        if (*text == "now") {
            wanted = QDateTime::currentDateTime();
        } else if (!text->empty()) {
            wanted = QDateTime::fromString(QString::fromStdString(*text), kDateForm);
            if (!wanted.isValid()) {
                return wrongUse("not a date and time such as \"2026-01-31 08:00:00\": " + *text);
            }
        }
        return DateTimeCommand(options, wanted).run();
    };
    return { word, run };
}
