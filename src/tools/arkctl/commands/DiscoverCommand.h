#pragma once
#include "tools/arkctl/Console.h"
#include "tools/arkctl/ControllerInfo.h"
#include "tools/arkctl/LinkRun.h"
#include <QHostAddress>
#include <QObject>

#include <optional>
#include <set>
#include <vector>

class QUdpSocket;

/// arkctl discover: asks who is there, on every network of this machine or at one address, and shows each answer once.
/// Owns: console and sockets (Qt children). Thread: the main thread. Ends: with main(), after run().
class DiscoverCommand : public QObject
{
    Q_OBJECT
public:
    /// \param target  nothing: everywhere
    DiscoverCommand(const std::optional<QHostAddress> &target, int waitMs, Rendering::Form form);
    Outcome run(); // Failed when nobody has answered

private:
    void ask(QUdpSocket &socket) const;
    void read(QUdpSocket &socket);
    void openEverywhere();
    QUdpSocket *open(const QHostAddress &address);

    const std::optional<QHostAddress> m_target;
    const int m_waitMs;
    const Rendering::Form m_form;
    Outcome m_outcome = Outcome::Done;
    Console *m_console = nullptr; // Qt child
    std::vector<QUdpSocket *> m_sockets;
    std::set<QString> m_found; // addresses
};
