#pragma once
#include "devices/DeviceLinks.h"
#include "net/link/ConnectionRegistry.h"
#include "net/link/Discovery.h"
#include "net/link/LinkHooks.h"
#include "net/link/LinkRequests.h"
#include "net/link/PanelMessages.h"
#include "net/link/SocketClient.h"
#include "net/porttest/PortTests.h"
#include <QHostAddress>
#include <QObject>
#include <QVector>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct LinkOptions
{
    QHostAddress bindAddress = QHostAddress(QHostAddress::Any);
    quint16 port = 6139; // 0: any free one, see NetworkManager::port()
    bool discovery = true;
    DiscoveryPorts discoveryPorts;
    int ioThreads = 0; // 0: as many as cores this process may use
    int mostConnections = 20000;
    int mostOfOneAddress = 12000; // a network behind a router that translates addresses, a box with many panels
};

/// The link to touch panels, management tools and other controllers: listens, keeps the connections, carries what the
/// program says to the panel that it concerns, and hands on what peers say.
/// Owns: the I/O threads, and through them the connections and discovery sockets.
/// Thread: made, started, stopped and destroyed on the main thread. The sending functions may be called from any
///       thread; they never wait for a peer: what a socket does not take at once is buffered.
/// Ends: with its owner; stop() first closes every connection without offline events.
class NetworkManager : public QObject, public PanelLink, private LinkEventSink
{
    Q_OBJECT
public:
    /// Returns what is to be done on the main thread; may be empty.
    using ControllerMessageHook = std::function<std::function<void()>(SocketClient &peer, const QByteArray &body)>;

    explicit NetworkManager(const LinkHooks &hooks, QObject *parent = nullptr);
    ~NetworkManager() override;

    quint16 port() const { return m_port; } // 0 while stopped
    bool hasPeer(int deviceId) const { return m_registry.hasPeer(deviceId); }

    /// Listens and serves from now on. Nothing when all is well, else what went wrong, with address, port and reason.
    /// A discovery port that is taken is logged only: panels still find the controller by its address.
    std::optional<QString> start(const LinkOptions &options);
    void stop();

    /// The answers arrive through PanelReplies.
    void askPanel(int deviceId, const PanelQuestion &question) override;

    /// \name What a panel shows. Acknowledged and sent again until the panel confirms or 5 s have passed.
    void setOnPanel(int deviceId, const PanelSetting &setting) override; // what is too long is a programError
    void setButtonStatusRange(int deviceId, int channel, int status, int first, int last) override;
    void setButtonStatusList(int deviceId, int channel, int status, const QVector<int> &channels) override;
    void setButtonStatuses(int deviceId, const QVector<qint64> &channels, const QVector<qint64> &statuses) override;
    void sendLevel(int deviceId, int levelCode, int level) override; // replaces an unconfirmed one of the same level
    void sendLevels(int deviceId, const QVector<qint64> &codes, const QVector<qint64> &levels) override;
    void sendCommand(int deviceId, const QByteArray &data) override;

    LinkRequests &requests() { return m_requests; } // of management tools, by link or by the console port

    void sendIrCode(int number, const QByteArray &code); // to every connection
    void sendInternalMsg(const QByteArray &body);        // code 3F, to every controller that listens to this one

    /// A thread for one more handler. While the network runs; the handler is gone when stop() returns.
    IoThread &nextThread() { return *m_threads.at(m_servedCount++ % m_threads.size()); }

    /// Where messages of other controllers go (code 0x3F), on the I/O thread of that peer. Set before start().
    void setControllerMessageHook(ControllerMessageHook hook) { m_controllerMessage = std::move(hook); }

    /// Where the frames of file transfers go. Set before start(); outlives this.
    void setFileTransfers(FileTransfers *transfers) { m_transfers = transfers; }

    /// Tools may ask for its lines, and get the lines that follow through it. Set before start(); outlives this.
    void setMonitorHistory(MonitorHistory &history);

Q_SIGNALS:
    void programError(const QString &text); // a fault of the running program; emitted on the caller's thread

private:
    void takeEvent(SocketClient &client, LinkEvent &event) override; // I/O thread, like all that follows but marked
    void clientClosed(SocketClient &client) override;
    bool isFull() const override { return m_hooks.events.isFull(); }
    void pauseWhenFull(SocketClient &client) const;
    void accept(Descriptor socket, const QString &peerAddress);
    void take(SocketClient &client, const PeerIntroduced &peer);
    void take(SocketClient &client, const ButtonReport &report);
    void take(SocketClient &client, const LevelReport &report);
    void take(SocketClient &client, const PanelAnswer &answer);
    void take(SocketClient &client, const InformationRequest &request);
    void take(SocketClient &client, const TextCommand &command);
    void take(SocketClient &client, const ControllerMessage &message);
    void take(SocketClient &client, const OtherFrame &other);
    void welcome(const std::weak_ptr<SocketClient> &client, int deviceNumber); // main thread
    void sendMonitorLine(int type, const QString &text);                       // any thread

    template <class Job>
    bool onMainThread(SocketClient &client, Backlog::Kind kind, int textBytes, Job job);
    void send(int deviceId, const PanelMessages::Message &message);

    const LinkHooks m_hooks;
    ControllerMessageHook m_controllerMessage;
    FileTransfers *m_transfers = nullptr; // borrowed
    ConnectionRegistry m_registry;
    Backlog m_backlog; // of what all peers want of the main thread, but for pushes
    LinkRequests m_requests;
    std::unique_ptr<PortTests> m_portTests; // outlives the I/O threads, which use it
    std::vector<std::unique_ptr<IoThread>> m_threads;
    std::atomic<unsigned> m_servedCount{ 0 }; // deals the connections out to the threads
    std::atomic<bool> m_isStopping{ false };
    std::atomic<qint64> m_refusedAtMs{ 0 }; // told then; I/O threads
    quint16 m_port = 0;
};
