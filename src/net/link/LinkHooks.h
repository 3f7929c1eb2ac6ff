#pragma once
#include "base/PanelProperties.h"
#include "io/HostNetwork.h"
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class SocketClient;

/// What the panel link asks of the rest of the system. The application ties these to the program object, the device
/// manager and the settings; the link owns none of them, and all must outlive it.

/// To be let go when an event has been handled, or dropped: the acknowledgement and what the program says to that peer
/// meanwhile wait for it, to leave together. Any thread.
using UntilHandled = std::shared_ptr<const void>;

/// Input from panels. Called on an I/O thread: post and return.
class PanelEvents
{
public:
    virtual ~PanelEvents() = default;
    virtual void buttonPressed(quint16 device, int channel, UntilHandled untilHandled) = 0;
    virtual void buttonReleased(quint16 device, int channel, UntilHandled untilHandled) = 0;
    virtual void levelChanged(quint16 device, int level, int value, UntilHandled untilHandled) = 0;

    /// Whether so much has been reported and not handled that the peers are not to be read for a while. Any thread.
    virtual bool isFull() const { return false; }
};

/// Answers of panels to the program's questions, and a tool's question for an IR code. Called on the main thread.
class PanelReplies
{
public:
    virtual ~PanelReplies() = default;
    virtual void panelAnswered(int deviceId, const PanelQuestion &question, const QVariant &value) = 0;
    virtual void queryIRCode(int number) = 0; // answered through NetworkManager::sendIrCode
};

/// Peers that come and go, by device number. Called on the main thread.
class PanelPresence
{
public:
    virtual ~PanelPresence() = default;

    /// The saved button states of a panel that has just connected, as frame 0x34 carries them.
    /// Empty when nothing is to be sent: no program, device not declared, or nothing recorded.
    virtual QByteArray buttonStatusSnapshot(int deviceId) = 0;

    virtual void peerOnline(int deviceId) = 0;  // never for number 100; after the snapshot was sent
    virtual void peerOffline(int deviceId) = 0; // for every peer that had introduced itself
};

/// Settings and the machine. Called on any thread, also while the main thread is busy in an endless program:
/// guard what is shared and return at once. Only the last ones are called on the main thread.
class LinkServices
{
public:
    virtual ~LinkServices() = default;
    virtual QByteArray informationString() = 0; // the body of frame 0x11
    virtual QStringList listenAddresses() = 0;

    /// \name Changes. What went wrong, if anything, for the tool that wanted them.
    using Problem = std::optional<QString>;
    virtual Problem setSystemNumber(int number) = 0; // at least 1

    /// Checks the network, tries it where it may, which takes seconds, and stores it; the mac may be empty.
    /// \param done  called once, here or later, on any thread: why it is not stored, empty when it is
    enum class Trial { Wanted, Never };
    using NetworkDone = std::function<void(const QString &problem)>;
    virtual void setNetwork(const HostNetwork &network, const QString &mac, Trial trial, const NetworkDone &done) = 0;
    virtual Problem setMac(const QString &mac) = 0;

    /// Stops the running program (by a flag that every loop looks at), sets the reboot flag, queues the quit.
    virtual void reboot() = 0;

    virtual void setDateTime(const QString &text) = 0; // main thread

    virtual QByteArray listenStatus() = 0;                           // what follows "listenstatus:"; main thread
    virtual Problem setListenAddresses(const QStringList &list) = 0; // main thread

    virtual QByteArray answerQuestion(const QByteArray &) { return "{}"; } // about the program, in JSON; main thread

    /// \name The controller's own ports; main thread. The name of a port, and what to set, as ports.ini has them.
    virtual QByteArray ports() { return "[]"; }           // a JSON array, an object a port
    virtual QByteArray detectedDevices() { return "[]"; } // the same of what could stand behind them
    virtual Problem setPort(const QString &, const QStringList &) { return std::nullopt; }
    virtual Problem putIntoPort(const QString &, const QByteArray &) { return std::nullopt; }
};

struct LinkHooks
{
    PanelEvents &events;
    PanelReplies &replies;
    PanelPresence &presence;
    LinkServices &services;
};
