#pragma once
#include "net/link/ConnectionRegistry.h"
#include "net/link/Discovery.h"
#include "net/link/LinkHooks.h"
#include "net/link/ManagementCommand.h"
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

class MonitorHistory;

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
class NetworkManager : public QObject, private LinkEventSink
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

    /// \name Questions to a panel. The answers arrive through PanelReplies. Nobody with that number: nothing happens.
    void queryButtonStatus(int deviceId, int channelCode);
    void queryButtonText(int deviceId, int channelCode, int stateIndex);
    void queryButtonProperty(int deviceId, int channelCode, const QByteArray &name);
    void queryButtonStateProperty(int deviceId, int channelCode, int stateIndex, const QByteArray &name);
    void queryPageProperty(int deviceId, const QByteArray &page, const QByteArray &name);

    /// \name What a panel shows. Acknowledged and sent again until the panel confirms or 5 s have passed.
    void setRangeButtonStatus(int deviceId, int channelCode, int status, int first, int last);
    void setRangeButtonStatusVals(int deviceId, const QVector<qint64> &channelCodes, const QVector<qint64> &statuses);
    void setListButtonStatus(int deviceId, int channelCode, int status, const QVector<int> &buttons);
    void sendLevel(int deviceId, int levelCode, int level); // replaces an unconfirmed one of the same level
    void sendLevels(int deviceId, const QVector<qint64> &levelCodes, const QVector<qint64> &levels);
    void sendCommand(int deviceId, const QByteArray &data);

    /// \name Properties. A message longer than 4076 bytes is refused with programError, except that of a page.
    void setButtonProperty(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &name,
                           const QVariant &value);
    void setButtonStateProperty(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &name,
                                int stateIndex, const QVariant &value);
    void setPageProperty(int deviceId, const QByteArray &page, const QByteArray &name, const QVariant &value);
    void setContainerProperty(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &name,
                              const QByteArray &data);
    void containerCall(int deviceId, const QVector<qint64> &channelCodes, const QByteArray &method,
                       const QByteArray &data);

    /// \name Requests of management tools, by link or by the console port. What went wrong, if anything. Any thread.
    using Problem = LinkServices::Problem;
    Problem changeSystemNumber(int number); // none: ignored; other controllers reconnect and learn the new one
    void makeStaticIp(const QString &ip, const QString &netmask, const QString &gateway, const QString &dns,
                      const QString &mac);
    void makeDHCP(const QString &mac);
    Problem setMacAddress(const QString &mac);
    void sendIrCode(int number, const QByteArray &code); // to every connection

    /// \name Other controllers that listen to this one.
    void sendInternalMsg(const QByteArray &body); // code 3F, to each of them; any thread

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
    void accept(int socket, const QString &peerAddress);
    void take(SocketClient &client, const PeerIntroduced &peer);
    void take(SocketClient &client, const ButtonReport &report);
    void take(SocketClient &client, const LevelReport &report);
    void take(SocketClient &client, const StatusReply &reply);
    void take(SocketClient &client, const ButtonTextReply &reply);
    void take(SocketClient &client, const PropertyReply &reply);
    void take(SocketClient &client, const InformationRequest &request);
    void take(SocketClient &client, const TextCommand &command);
    void take(SocketClient &client, const ControllerMessage &message);
    void take(SocketClient &client, const OtherFrame &other);
    void perform(SocketClient &client, const Management::Command &command);
    void tellPast(SocketClient &client, qint64 ageMs) const;

    void welcome(const std::weak_ptr<SocketClient> &client, int deviceNumber); // main thread
    void sendMonitorLine(int type, const QString &text);                       // any thread
    Problem rebootUnless(const Problem &problem);                              // any thread
    void changeNetwork(const HostNetwork &network, const QString &mac, LinkServices::Trial trial,
                       const std::weak_ptr<SocketClient> &asker = {}); // any thread; tells the asker what is wrong

    template <class Job>
    bool onMainThread(SocketClient &client, Backlog::Kind kind, int textBytes, Job job);
    void sendPlain(int deviceId, quint8 code, const QByteArray &body);
    void sendMessage(int deviceId, quint8 code, const QByteArray &body);
    bool isSendable(const QByteArray &body, const char *errorText); // else reports the error

    const LinkHooks m_hooks;
    ControllerMessageHook m_controllerMessage;
    FileTransfers *m_transfers = nullptr; // borrowed
    MonitorHistory *m_history = nullptr;  // borrowed; nullptr: none is kept
    ConnectionRegistry m_registry;
    Backlog m_backlog;                      // of what all peers want of the main thread, but for pushes
    std::unique_ptr<PortTests> m_portTests; // outlives the I/O threads, which use it
    std::vector<std::unique_ptr<IoThread>> m_threads;
    std::atomic<unsigned> m_servedCount{ 0 }; // deals the connections out to the threads
    std::atomic<bool> m_isStopping{ false };
    std::atomic<qint64> m_refusedAtMs{ 0 }; // told then; I/O threads
    quint16 m_port = 0;
};
