#include "net/sockets/SocketErrors.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace {
struct Row
{
    int systemError;
    QAbstractSocket::SocketError number;
};

constexpr Row kRows[] = {
    { ECONNREFUSED, QAbstractSocket::ConnectionRefusedError },
    { ECONNRESET, QAbstractSocket::RemoteHostClosedError },
    { ECONNABORTED, QAbstractSocket::RemoteHostClosedError },
    { EPIPE, QAbstractSocket::RemoteHostClosedError },
    { EACCES, QAbstractSocket::SocketAccessError },
    { EPERM, QAbstractSocket::SocketAccessError },
    { EMFILE, QAbstractSocket::SocketResourceError },
    { ENFILE, QAbstractSocket::SocketResourceError },
    { ENOBUFS, QAbstractSocket::SocketResourceError },
    { ENOMEM, QAbstractSocket::SocketResourceError },
    { EAGAIN, QAbstractSocket::SocketResourceError }, // of a datagram: the system has no room for it
    { ETIMEDOUT, QAbstractSocket::SocketTimeoutError },
    { EMSGSIZE, QAbstractSocket::DatagramTooLargeError },
    { ENETUNREACH, QAbstractSocket::NetworkError },
    { ENETDOWN, QAbstractSocket::NetworkError },
    { EHOSTUNREACH, QAbstractSocket::NetworkError },
    { EHOSTDOWN, QAbstractSocket::NetworkError },
    { EPROTO, QAbstractSocket::NetworkError },
    { EADDRINUSE, QAbstractSocket::AddressInUseError },
    { EADDRNOTAVAIL, QAbstractSocket::SocketAddressNotAvailableError },
    { EAFNOSUPPORT, QAbstractSocket::UnsupportedSocketOperationError },
    { EPROTONOSUPPORT, QAbstractSocket::UnsupportedSocketOperationError },
    { EOPNOTSUPP, QAbstractSocket::UnsupportedSocketOperationError },
    { EINVAL, QAbstractSocket::UnsupportedSocketOperationError },
};
} // namespace

int socketErrorOf(int systemError)
{
    const auto *const row = std::find_if(std::begin(kRows), std::end(kRows),
                                         [systemError](const Row &each) { return each.systemError == systemError; });
    return row != std::end(kRows) ? row->number : QAbstractSocket::UnknownSocketError;
}
