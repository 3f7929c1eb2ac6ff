#include "tools/arkctl/commands/DiscoverCommand.h"
#include "base/Frame.h"
#include "net/link/Discovery.h"
#include "net/link/LinkCodes.h"
#include "tools/arkctl/Command.h"

#include <QCoreApplication>
#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QTimer>
#include <QUdpSocket>

namespace {
const QHostAddress &groupAddress()
{
    static const QHostAddress address(QStringLiteral("239.20.1.98"));
    return address;
}

QString rowText(const QString &address, const QString &system, const QString &model, const QString &version,
                const QString &mac)
{
    return address.leftJustified(17) + system.leftJustified(8) + model.leftJustified(12) + version.leftJustified(14) +
           mac;
}
} // namespace

DiscoverCommand::DiscoverCommand(const std::optional<QHostAddress> &target, int waitMs, Rendering::Form form)
    : m_target(target)
    , m_waitMs(waitMs)
    , m_form(form)
    , m_console(new Console(this))
{
    connect(m_console, &Console::stopRequested, this, [] { QCoreApplication::quit(); });
    connect(m_console, &Console::outputFailed, this, [this] {
        m_outcome = Outcome::Failed;
        QCoreApplication::quit();
    });
}

Outcome DiscoverCommand::run()
{
    if (m_target) {
        const bool isIpv6 = m_target->protocol() == QAbstractSocket::IPv6Protocol;
        open(QHostAddress(isIpv6 ? QHostAddress::AnyIPv6 : QHostAddress::AnyIPv4));
    } else {
        openEverywhere();
    }
    constexpr int kAsks = 3; // a datagram may get lost
    for (int count = 0; count < kAsks; ++count) {
        QTimer::singleShot(count * m_waitMs / kAsks, this, [this] {
            for (QUdpSocket *socket : m_sockets) {
                ask(*socket);
            }
        });
    }
    QTimer::singleShot(m_waitMs, this, [] { QCoreApplication::quit(); });
    QCoreApplication::exec();
    if (m_found.empty()) {
        Console::complain(m_target ? "no controller answers at " + m_target->toString().toStdString()
                                   : std::string("no controller answers on this network"),
                          "see whether it is switched on and in the same network, or name it with --at ADDRESS");
        return Outcome::Failed;
    }
    return m_outcome;
}

void DiscoverCommand::ask(QUdpSocket &socket) const
{
    const QByteArray request = frameBytes(LinkCode::kInformationRequest, QByteArray());
    const DiscoveryPorts ports;
    if (m_target) {
        socket.writeDatagram(request, *m_target, ports.direct);
    } else {
        socket.writeDatagram(request, groupAddress(), ports.group);
    }
}

void DiscoverCommand::read(QUdpSocket &socket)
{
    while (socket.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = socket.receiveDatagram();
        FrameParser parser;
        const QByteArray bytes = datagram.data();
        std::vector<Frame> frames;
        parser.feed(bytes.constData(), bytes.size(), frames);
        const bool isAnswer =
            frames.size() == 1 && frames.front().checksumOk && frames.front().code == LinkCode::kInformation;
        const auto info = isAnswer ? parseControllerInfo(frames.front().body) : std::nullopt;
        const QString address = datagram.senderAddress().toString();
        if (!info || !m_found.insert(address).second) {
            continue;
        }
        if (m_form == Rendering::Form::Json) {
            m_console->print(shownInfo(m_form, *info, address));
            continue;
        }
        if (m_found.size() == 1) {
            m_console->print(rowText(QStringLiteral("ADDRESS"), QStringLiteral("SYSTEM"), QStringLiteral("MODEL"),
                                     QStringLiteral("VERSION"), QStringLiteral("MAC"))
                                 .toStdString());
        }
        m_console->print(
            rowText(address, QString::number(info->systemNumber), info->model, info->version, info->mac).toStdString());
    }
}

void DiscoverCommand::openEverywhere()
{
    const QList<QNetworkInterface> cards = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &card : cards) {
        const QNetworkInterface::InterfaceFlags flags = card.flags();
        const QList<QNetworkAddressEntry> entries = card.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            const bool isFit = flags.testFlag(QNetworkInterface::IsUp) &&
                               !flags.testFlag(QNetworkInterface::IsLoopBack) &&
                               entry.ip().protocol() == QAbstractSocket::IPv4Protocol;
            if (QUdpSocket *const socket = isFit ? open(entry.ip()) : nullptr) {
                socket->setMulticastInterface(card);
                break;
            }
        }
    }
}

QUdpSocket *DiscoverCommand::open(const QHostAddress &address)
{
    auto *socket = new QUdpSocket(this);
    if (!socket->bind(address, 0)) {
        delete socket;
        return nullptr;
    }
    connect(socket, &QUdpSocket::readyRead, this, [this, socket] { read(*socket); });
    m_sockets.push_back(socket);
    return socket;
}

namespace {
struct DiscoverArguments
{
    std::string address;
    double seconds = 2;
    bool wantsJson = false;
};
} // namespace

Command discoverCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("discover", "Show the controllers on this machine's networks");
    word->explain({ "Asks three times, and shows each that answers once.",
                    { { "arkctl discover", "" },
                      { "arkctl discover --at 192.168.1.2", "behind a router" },
                      { "arkctl discover --json", "for a script" } } });
    const auto arguments = std::make_shared<DiscoverArguments>();
    word->add("--at", arguments->address, "Ask this address only").named("ADDRESS");
    word->add("--for", arguments->seconds, "How long to wait (2)").named("SECONDS").between(0.1, 3600);
    addJsonFlag(*word, arguments->wantsJson, "One JSON object per controller");
    const auto run = [arguments](const RunOptions &) {
        std::optional<QHostAddress> target;
        if (!arguments->address.empty()) {
            target = QHostAddress(QString::fromStdString(arguments->address));
            if (target->isNull()) {
                return wrongUse("not an address: " + arguments->address);
            }
        }
        return DiscoverCommand(target, static_cast<int>(arguments->seconds * 1000), formOf(arguments->wantsJson)).run();
    };
    return { word, run, false };
}
