#include "net/sockets/AcceptingSocket.h"

#include "io/ListenSocket.h"

#include <sys/epoll.h>

namespace {
constexpr int kAcceptedPerTurn = 4; // each runs the program's handlers
}

AcceptingSocket::~AcceptingSocket() = default;

bool AcceptingSocket::listen()
{
    const auto accepted = [weak = weak_from_this()](Descriptor socket, const QString &) {
        if (const auto self = std::static_pointer_cast<AcceptingSocket>(weak.lock())) {
            self->accept(std::move(socket));
        }
    };
    ListenSocket::Result result =
        ListenSocket::open(QHostAddress(QHostAddress::Any), m_port, loop().io(), accepted, kAcceptedPerTurn);
    m_listener = std::move(result.socket);
    return m_listener && loop().add(m_listener, EPOLLIN);
}

void AcceptingSocket::restart()
{
    close();
    if (!listen()) {
        later([this] { raiseError(QAbstractSocket::AddressInUseError); });
    }
}

void AcceptingSocket::close()
{
    if (const std::shared_ptr<ListenSocket> listener = std::exchange(m_listener, nullptr)) {
        loop().io().remove(*listener);
    }
}

void AcceptingSocket::accept(Descriptor socket)
{
    if (m_connections < kMostConnections) {
        m_hasRefused = false;
        ++m_connections;
        take(std::move(socket));
        return;
    }
    socket.close();
    if (!std::exchange(m_hasRefused, true)) {
        raiseError(QAbstractSocket::SocketResourceError);
    }
}
