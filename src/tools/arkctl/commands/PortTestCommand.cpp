#include "tools/arkctl/commands/PortTestCommand.h"
#include "net/link/LinkCodes.h"
#include "tools/arkctl/Command.h"

#include <QDateTime>
#include <QTimer>

#include <array>

namespace {
struct KindName
{
    const char *word;
    PortTest::Kind kind;
    bool needsHost;
};

constexpr std::array kKinds = {
    KindName{ "tcp-client", PortTest::Kind::TcpClient, true },
    KindName{ "tcp-server", PortTest::Kind::TcpServer, false },
    KindName{ "udp-client", PortTest::Kind::UdpClient, true },
    KindName{ "udp-server", PortTest::Kind::UdpServer, false },
};

/// The byte that an escape stands for, which begins at text[at] behind the backslash; at moves behind it.
std::optional<char> escapedByte(const std::string &text, size_t &at)
{
    switch (at < text.size() ? text[at++] : '\0') {
    case 'r':
        return '\r';
    case 'n':
        return '\n';
    case 't':
        return '\t';
    case '\\':
        return '\\';
    case 'x': {
        bool isHex = false;
        const int value = QByteArray::fromStdString(text.substr(at, 2)).toInt(&isHex, 16);
        at += 2;
        return isHex && at <= text.size() ? std::optional(static_cast<char>(value)) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

std::optional<QByteArray> unescaped(const std::string &text)
{
    QByteArray bytes;
    for (size_t at = 0; at < text.size();) {
        const char next = text[at++];
        const std::optional<char> byte = next == '\\' ? escapedByte(text, at) : next;
        if (!byte) {
            return std::nullopt;
        }
        bytes += *byte;
    }
    return bytes;
}
} // namespace

std::variant<PortTestPlan, std::string> parsePortTest(const std::vector<std::string> &words,
                                                      const std::vector<std::string> &texts)
{
    const std::string &word = words.at(0);
    const auto *kind =
        std::find_if(kKinds.begin(), kKinds.end(), [&](const KindName &each) { return each.word == word; });
    if (kind == kKinds.end()) {
        return "unknown port test: " + word + " (there are tcp-client, tcp-server, udp-client and udp-server)";
    }
    if (words.size() != (kind->needsHost ? 3 : 2)) {
        return word + (kind->needsHost ? " needs HOST and PORT" : " needs PORT, and nothing else");
    }
    PortTestPlan plan;
    plan.start.kind = kind->kind;
    plan.start.host = kind->needsHost ? QString::fromStdString(words.at(1)) : QString();
    plan.start.port = QString::fromStdString(words.back()).toUShort();
    if (plan.start.port == 0) {
        return "not a port from 1 to 65535: " + words.back();
    }
    if (!texts.empty() && kind->kind == PortTest::Kind::UdpServer) {
        return "a udp-server only hears; --send needs one of the others";
    }
    for (const std::string &text : texts) {
        const std::optional<QByteArray> bytes = unescaped(text);
        if (!bytes) {
            return "an escape that is none of \\r \\n \\t \\\\ \\xHH in: " + text;
        }
        plan.texts.push_back(*bytes);
    }
    return plan;
}

PortTestCommand::PortTestCommand(const RunOptions &options, const PortTestPlan &plan, Rendering::Form form)
    : LinkRun(tool(), options)
    , m_plan(plan)
    , m_form(form)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.code == LinkCode::kPortTestReport) {
            if (const std::optional<PortTest::Report> report = PortTest::parseReport(message.body)) {
                take(*report);
            }
        }
    });
}

void PortTestCommand::begin()
{
    say(m_plan.start);
    QTimer::singleShot(options().timeoutMs, this, [this] {
        if (!m_wasOn) {
            fail("the controller at " + options().endpoint.text() + " reports no success in time",
                 "see whether HOST answers, or give it longer with --timeout SECONDS");
        }
    });
}

void PortTestCommand::take(const PortTest::Report &report)
{
    console().print(Rendering::portTestReport(m_form, QDateTime::currentDateTime(), report));
    if (const auto *state = std::get_if<PortTest::State>(&report)) {
        takeState(state->isOn);
    }
}

void PortTestCommand::takeState(bool isOn)
{
    if (isOn && !m_wasOn) {
        m_wasOn = true;
        for (const QByteArray &text : m_plan.texts) {
            say(PortTest::Send{ m_plan.start.kind, text });
        }
        if (m_plan.watchMs) {
            QTimer::singleShot(*m_plan.watchMs, this, [this] { finish(Outcome::Done); });
        }
    } else if (!isOn && m_wasOn) {
        finish(Outcome::Done); // the peer has hung up
    } else if (!isOn) {
        const std::string port = std::to_string(m_plan.start.port);
        if (m_plan.start.host.isEmpty()) {
            fail("the controller cannot listen on port " + port, "see what uses that port, or take another");
        } else {
            fail("the controller gets no connection to " + m_plan.start.host.toStdString() + " port " + port,
                 "see whether that device is switched on and serves the port");
        }
    }
}

void PortTestCommand::say(const PortTest::Request &request)
{
    client().sendPlain(LinkCode::kPortTestRequest, PortTest::encodeRequest(request));
}

namespace {
struct PortTestArguments
{
    std::vector<std::string> words;
    std::vector<std::string> texts;
    std::optional<double> watchSeconds;
    bool wantsJson = false;
};

Outcome runPortTest(const PortTestArguments &arguments, const RunOptions &options)
{
    auto parsed = parsePortTest(arguments.words, arguments.texts);
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        return wrongUse(*fault);
    }
    PortTestPlan &plan = std::get<PortTestPlan>(parsed);
    plan.watchMs = millisecondsOf(arguments.watchSeconds);
    return PortTestCommand(options, plan, formOf(arguments.wantsJson)).run();
}
} // namespace

Command portTestCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word =
        app.addWord("porttest", "Let the controller be a client or server, to check a network");
    const auto arguments = std::make_shared<PortTestArguments>();
    word->explain({ "What the controller receives is shown. The controller's ends are gone when the command ends.",
                    { { R"(arkctl porttest tcp-client 10.0.0.9 23 --send 'POWR?\r' --for 2)", "" },
                      { "arkctl porttest udp-server 4000 --for 60", "hear a sensor" } } });
    word->add("TEST", arguments->words,
              "tcp-client HOST PORT | tcp-server PORT | udp-client HOST PORT | udp-server PORT")
        .required()
        .suggests({ "tcp-client", "tcp-server", "udp-client", "udp-server" });
    word->add("--send", arguments->texts, "Send this once it works; \\r \\n \\t \\xHH stand for bytes")
        .named("TEXT")
        .oneValueEach();
    addForOption(*word, arguments->watchSeconds, "End after this; else at Ctrl-C or when the peer hangs up");
    addJsonFlag(*word, arguments->wantsJson, "One JSON object per line: time, event, text, hex");
    return { word, [arguments](const RunOptions &options) { return runPortTest(*arguments, options); } };
}
