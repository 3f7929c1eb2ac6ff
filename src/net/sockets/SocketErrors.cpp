#include "net/sockets/SocketErrors.h"
#include "base/Messages.h"
#include <QCoreApplication>

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

QString socketErrorText(int number)
{
    static constexpr const char *kTexts[] = {
        QT_TRANSLATE_NOOP("messages", "connection refused"),
        QT_TRANSLATE_NOOP("messages", "closed by the other end"),
        QT_TRANSLATE_NOOP("messages", "unknown host"),
        QT_TRANSLATE_NOOP("messages", "not allowed"),
        QT_TRANSLATE_NOOP("messages", "no address, or too many sockets"),
        QT_TRANSLATE_NOOP("messages", "timed out"),
        QT_TRANSLATE_NOOP("messages", "datagram too large"),
        QT_TRANSLATE_NOOP("messages", "network unreachable"),
        QT_TRANSLATE_NOOP("messages", "port in use"),
        QT_TRANSLATE_NOOP("messages", "address not of this machine"),
    };
    const bool isKnown = number >= 0 && number < static_cast<int>(std::size(kTexts));
    return translated(isKnown ? kTexts[number] : QT_TRANSLATE_NOOP("messages", "socket error"));
}
