#include "tools/arkctl/commands/PortsCommand.h"
#include "tools/arkctl/Command.h"

PortsCommand::PortsCommand(const RunOptions &options, const QByteArray &request, Rendering::Form form)
    : LinkRun(tool(), options)
    , m_request(request)
    , m_form(form)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::TextReply && !m_isAnswered) { // the ports follow a refusal, too
            take(message.body);
        }
    });
}

void PortsCommand::begin()
{
    client().sendTextCommand(m_request);
    awaitAnswer();
}

void PortsCommand::take(const QByteArray &reply)
{
    const QByteArray failed = "failed:";
    const QByteArray ports = "ports:";
    const QByteArray detected = "portdetect:";
    m_isAnswered = reply.startsWith(failed) || reply.startsWith(ports) || reply.startsWith(detected);
    if (reply.startsWith(failed)) {
        fail(Rendering::escaped(reply.mid(failed.size())), "arkctl ports shows what is there");
    } else if (reply.startsWith(ports) || reply.startsWith(detected)) {
        const std::optional<std::vector<std::string>> lines =
            reply.startsWith(ports) ? Rendering::ports(m_form, reply.mid(ports.size()))
                                    : Rendering::detectedDevices(m_form, reply.mid(detected.size()));
        if (!lines) {
            fail("no ports in the answer of " + options().endpoint.text(), "is it a controller of this kind?");
            return;
        }
        for (const std::string &line : *lines) {
            console().print(line);
        }
        finish(Outcome::Done);
    }
}

namespace {
struct PortsArguments
{
    std::string port;
    std::vector<std::string> lines;
    std::string input;
    bool isHex = false;
    bool wantsJson = false;
};

Outcome runSet(const PortsArguments &arguments, const RunOptions &options)
{
    QByteArray request = "ports!" + QByteArray::fromStdString(arguments.port);
    for (const std::string &line : arguments.lines) {
        if (line.find('=') == std::string::npos || line.find('\n') != std::string::npos) {
            return wrongUse("not KEY=VALUE: \"" + line + '"');
        }
        request += '\n' + QByteArray::fromStdString(line);
    }
    return PortsCommand(options, request, formOf(arguments.wantsJson)).run();
}

Outcome runInput(const PortsArguments &arguments, const RunOptions &options)
{
    const QByteArray text = QByteArray::fromStdString(arguments.input);
    const QByteArray hex = arguments.isHex ? QByteArray::fromHex(text).toHex() : text.toHex();
    if (arguments.isHex && hex != QByteArray(text).replace(' ', "").toLower()) {
        return wrongUse("not pairs of hexadecimal digits: \"" + arguments.input + '"');
    }
    const QByteArray request = "portinput!" + QByteArray::fromStdString(arguments.port) + '\n' + hex;
    return PortsCommand(options, request, formOf(arguments.wantsJson)).run();
}
} // namespace

Command portsCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("ports", "Show, or change, what stands behind the controller's ports");
    const auto arguments = std::make_shared<PortsArguments>();
    word->needsWord(false);
    word->explain({ "Without a command it shows every port: its kind, its device and whether that is "
                    "open, how it is set up, the bytes that came and went, and what was last wrong.",
                    { { "arkctl ports", "" },
                      { "arkctl ports detect", "what could stand behind them" },
                      { "arkctl ports set relay1 line=gpiochip0:17", "" },
                      { "arkctl ports set serial1", "simulated again" },
                      { "arkctl ports input serial1 --hex '4F 4B 0D'", "" },
                      { "arkctl ports input io1 on", "" } } });
    addJsonFlag(*word, arguments->wantsJson,
                "One JSON object per line: port, kind and, where they apply, device, "
                "open, settings, bytesIn, bytesOut, lastError; of detect kind, device, port, set, usedBy, problem");
    CommandLine::Word *const detect = word->addWord(
        "detect", "Show the serial adapters, GPIO lines and infrared devices of the controller's machine");
    CommandLine::Word *const set = word->addWord("set", "Write ports.ini and use it at once");
    set->add("PORT", arguments->port, "serial1, relay1, io1, ir1 or portLink").required();
    set->add("KEY=VALUE", arguments->lines, "As in ports.ini; none: no device any more");
    CommandLine::Word *const input = word->addWord("input", "Put something in at a simulated port");
    input->add("PORT", arguments->port, "serial1 to serial8, io1 to io8, ir1 to ir4").required();
    input->add("INPUT", arguments->input, "What comes in; on or off of io").required();
    input->addFlag("--hex", arguments->isHex, "INPUT is hexadecimal");
    detect->takesOptionsAbove();
    set->takesOptionsAbove();
    input->takesOptionsAbove();
    const auto run = [detect, set, input, arguments](const RunOptions &options) {
        return set->isGiven() ? runSet(*arguments, options)
               : input->isGiven()
                   ? runInput(*arguments, options)
                   : PortsCommand(options, detect->isGiven() ? "portdetect?" : "ports?", formOf(arguments->wantsJson))
                         .run();
    };
    return { word, run };
}
