#pragma once
#include "io/SocketAddress.h"
#include "net/sockets/SocketErrors.h"
#include "net/sockets/SocketEvents.h"
#include "net/sockets/SocketLoop.h"
#include "program/SocketActions.h"

#include <memory>

/// What all sockets of one program share.
struct SocketContext
{
    std::shared_ptr<SocketLoop> loop;
    std::shared_ptr<SocketEvents> events;
};

/// What the program opened under one local port.
/// Thread: the main thread. Ends: close(), or with the loop; connections of a closed server live on by themselves.
class ProgramSocket : public std::enable_shared_from_this<ProgramSocket>
{
public:
    ProgramSocket(SocketContext context, int localPort)
        : m_context(std::move(context))
        , m_localPort(localPort)
    {}
    virtual ~ProgramSocket() = default;
    ProgramSocket(const ProgramSocket &) = delete;
    ProgramSocket &operator=(const ProgramSocket &) = delete;

    int localPort() const { return m_localPort; }

    virtual void send(const QByteArray &data) = 0;
    virtual void restart() = 0; // this controller has got another address
    virtual void close() = 0;   // without an event

protected:
    SocketLoop &loop() const { return *m_context.loop; }
    SocketEvents &events() const { return *m_context.events; }

    void raiseError(int number) const { events().error(localPort(), number, farEnd()); }
    virtual QString farEnd() const = 0; // "10.0.0.5:23", or ":23" of a server: for people

    /// Does something from the event loop, unless this has ended before.
    template <class Job>
    void later(Job job)
    {
        loop().later([weak = weak_from_this(), job] {
            if (const std::shared_ptr<ProgramSocket> self = weak.lock()) {
                job();
            }
        });
    }

private:
    const SocketContext m_context;
    const int m_localPort;
};

/// A client, which the program may open again with another address.
class ClientSocket : public ProgramSocket
{
public:
    using Protocol = SocketActions::Protocol;
    ClientSocket(SocketContext context, int localPort, Protocol protocol, int boundPort)
        : ProgramSocket(std::move(context), localPort)
        , m_protocol(protocol)
        , m_boundPort(boundPort)
    {}

    bool is(Protocol protocol, int boundPort) const { return protocol == m_protocol && boundPort == m_boundPort; }
    void setAddress(const SocketAddress &address) { m_address = address; }

protected:
    Protocol protocol() const { return m_protocol; }
    const SocketAddress &address() const { return m_address; }
    QString farEnd() const override { return m_address.text(); }
    quint16 boundPort() const // 0: any
    {
        constexpr int kLeast = 10;
        return m_boundPort >= kLeast ? static_cast<quint16>(m_boundPort) : quint16{ 0 };
    }

private:
    const Protocol m_protocol;
    const int m_boundPort;
    SocketAddress m_address;
};
