#include "net/sockets/DatagramSocket.h"

#include "net/sockets/SocketLoop.h"

#include <cerrno>

#include <netinet/in.h>
#include <sys/epoll.h>

namespace {
Descriptor openDescriptor(const SocketAddress &own, const SocketAddress *peer)
{
    Descriptor socket(::socket(own.family(), SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return socket;
    }
    const int on = 1;
    const int off = 0;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    if (own.family() == AF_INET6) {
        ::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    }
    if (::bind(socket.get(), own.get(), own.size) != 0 ||
        (peer && ::connect(socket.get(), peer->get(), peer->size) != 0)) {
        socket.close();
    }
    return socket;
}

quint32 inputEvents(DatagramSocket::Input input)
{
    return input == DatagramSocket::Input::Read ? EPOLLIN : 0U; // errors come in any case
}
} // namespace

DatagramSocket::Result DatagramSocket::open(SocketLoop &loop, const SocketAddress &own, const SocketAddress *peer,
                                            Input input, std::shared_ptr<Owner> owner)
{
    Descriptor descriptor = openDescriptor(own, peer);
    if (!descriptor.isOpen()) {
        return { nullptr, socketErrorOf(errno) };
    }
    std::shared_ptr<DatagramSocket> socket(new DatagramSocket(loop, std::move(descriptor), input, std::move(owner)));
    if (!loop.add(socket, inputEvents(input))) {
        return { nullptr, QAbstractSocket::SocketResourceError };
    }
    return { std::move(socket), kNoSocketError };
}

DatagramSocket::DatagramSocket(SocketLoop &loop, Descriptor socket, Input input, std::shared_ptr<Owner> owner)
    : m_loop(loop)
    , m_socket(std::move(socket))
    , m_input(input)
    , m_owner(std::move(owner))
{}

DatagramSocket::~DatagramSocket()
{
    removed();
}

int DatagramSocket::send(const QByteArray &bytes, const SocketAddress *destination)
{
    const auto sendOnce = [&] {
        return ::sendto(m_socket.get(), bytes.constData(), static_cast<size_t>(bytes.size()), MSG_NOSIGNAL,
                        destination ? destination->get() : nullptr, destination ? destination->size : 0);
    };
    if (sendOnce() >= 0) {
        return kNoSocketError;
    }
    // The system reports here that an earlier datagram was refused; this one has not been sent yet.
    const int error = errno;
    if (error == ECONNREFUSED) {
        sendOnce();
    }
    return socketErrorOf(error);
}

void DatagramSocket::close()
{
    m_loop.io().remove(*this);
}

bool DatagramSocket::ready(quint32 epollEvents, qint64)
{
    if (m_isTelling) {
        m_isMuted = true; // until the owner is done
        m_loop.io().watch(*this, EPOLLET);
        return true;
    }
    int error = 0;
    if ((epollEvents & EPOLLERR) != 0) {
        socklen_t size = sizeof error;
        ::getsockopt(m_socket.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    }
    if ((epollEvents & EPOLLIN) != 0 && m_input == Input::Read && error == 0) {
        const std::vector<Datagram> datagrams = readAvailable(error);
        if (!datagrams.empty()) {
            tell([&datagrams](Owner &owner) { owner.received(datagrams); });
        }
    }
    if (error != 0) {
        tell([error](Owner &owner) { owner.failed(socketErrorOf(error)); });
    }
    return m_socket.isOpen();
}

void DatagramSocket::removed()
{
    m_socket.close();
    m_owner.reset();
}

std::vector<DatagramSocket::Datagram> DatagramSocket::readAvailable(int &error) const
{
    static std::vector<char> buffer(64UL * 1024); // no datagram is longer
    std::vector<Datagram> datagrams;
    while (datagrams.size() < kMostPerTurn) {
        SocketAddress sender;
        const ssize_t count = ::recvfrom(m_socket.get(), buffer.data(), buffer.size(), 0, sender.get(), &sender.size);
        if (count < 0) {
            error = errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR ? 0 : errno;
            break;
        }
        datagrams.push_back({ QByteArray(buffer.data(), static_cast<int>(count)), sender });
    }
    return datagrams;
}

template <class Call>
void DatagramSocket::tell(Call call)
{
    const std::shared_ptr<Owner> owner = m_owner;
    if (!owner) {
        return; // closed meanwhile
    }
    m_isTelling = true;
    call(*owner);
    m_isTelling = false;
    if (std::exchange(m_isMuted, false) && m_socket.isOpen()) {
        m_loop.io().watch(*this, inputEvents(m_input));
    }
}
