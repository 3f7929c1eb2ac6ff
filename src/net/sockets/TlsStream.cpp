#include "net/sockets/TlsStream.h"

#include "base/Clock.h"
#include "net/sockets/SocketLoop.h"

#include <QPointer>
#include <QSslSocket>

namespace {
constexpr qint64 kPlainTextSize = 64LL * 1024;
}

std::shared_ptr<TlsStream> TlsStream::connectTo(SocketLoop &loop, const QHostAddress &address, quint16 port,
                                                const QString &name, std::shared_ptr<Owner> owner)
{
    std::shared_ptr<TlsStream> stream(new TlsStream(loop, std::move(owner)));
    stream->watch();
    stream->m_socket->connectToHostEncrypted(address.toString(), port, name);
    return stream;
}

TlsStream::TlsStream(SocketLoop &loop, std::shared_ptr<Owner> owner)
    : m_loop(loop)
    , m_socket(new QSslSocket(&loop))
    , m_owner(std::move(owner))
{
    m_socket->setReadBufferSize(kPlainTextSize);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
}

TlsStream::~TlsStream()
{
    Clock::instance().cancel(m_timeoutTicket);
}

void TlsStream::watch()
{
    const std::weak_ptr<TlsStream> weak = weak_from_this();
    const auto later = [weak] {
        if (const std::shared_ptr<TlsStream> self = weak.lock()) {
            self->callLater();
        }
    };
    const auto fail = [weak](int error) {
        const std::shared_ptr<TlsStream> self = weak.lock();
        if (self && self->m_endError == kNoSocketError) {
            self->m_endError = error;
            self->callLater();
        }
    };
    QObject::connect(m_socket, &QSslSocket::encrypted, m_socket, later);
    QObject::connect(m_socket, &QSslSocket::readyRead, m_socket, later);
    QObject::connect(m_socket, &QSslSocket::errorOccurred, m_socket,
                     [fail](QAbstractSocket::SocketError error) { fail(error); });
    QObject::connect(m_socket, &QSslSocket::disconnected, m_socket,
                     [fail] { fail(QAbstractSocket::RemoteHostClosedError); });
    m_timeoutTicket = Clock::instance().after(kConnectMs, [fail] { fail(QAbstractSocket::SocketTimeoutError); });
}

bool TlsStream::write(const QByteArray &bytes)
{
    if (m_state != State::Open) {
        return false;
    }
    const qint64 waiting = m_socket->bytesToWrite() + m_socket->encryptedBytesToWrite();
    if (waiting > 0 && waiting + bytes.size() > kMostWaitingBytes) {
        return false;
    }
    m_socket->write(bytes);
    return true;
}

void TlsStream::close(Close how)
{
    m_owner.reset();
    m_state = State::Closed;
    Clock::instance().cancel(std::exchange(m_timeoutTicket, 0));
    QSslSocket *const socket = std::exchange(m_socket, nullptr);
    if (!socket) {
        return;
    }
    socket->disconnect();
    socket->setReadBufferSize(1); // the peer is not heard any more
    if (how == Close::Reset || socket->state() != QAbstractSocket::ConnectedState) {
        socket->abort();
        socket->deleteLater();
        return;
    }
    QObject::connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
    socket->disconnectFromHost();
    Clock::instance().after(kFlushMs, [left = QPointer<QSslSocket>(socket)] {
        if (left) {
            left->abort();
            left->deleteLater();
        }
    });
}

void TlsStream::setHolding(bool isHolding)
{
    m_isHolding = isHolding;
    if (!isHolding) {
        callLater();
    }
}

void TlsStream::callLater()
{
    if (!std::exchange(m_isCalled, true)) {
        m_loop.later([weak = weak_from_this()] {
            if (const std::shared_ptr<TlsStream> self = weak.lock()) {
                self->m_isCalled = false;
                self->goOn();
            }
        });
    }
}

/// The next thing to tell: connected, a piece of input, or the end.
void TlsStream::goOn()
{
    if (m_isTelling || m_isHolding || !m_socket) {
        return;
    }
    if (m_state == State::Connecting && m_socket->isEncrypted()) {
        m_state = State::Open;
        Clock::instance().cancel(std::exchange(m_timeoutTicket, 0));
        m_peer = { m_socket->peerAddress().toString().toLatin1(), m_socket->peerPort() };
        tell([this](Owner &owner) { owner.connected(*this); });
        callLater();
    } else if (m_state == State::Open && m_socket->bytesAvailable() > 0) {
        const QByteArray bytes = m_socket->read(kPlainTextSize);
        tell([&](Owner &owner) { owner.received(*this, bytes); });
        callLater();
    } else if (m_endError != kNoSocketError) {
        const int error = m_endError;
        const std::shared_ptr<Owner> owner = m_owner;
        close(Close::Reset);
        if (owner) {
            owner->ended(*this, error);
        }
    }
}

template <class Call>
void TlsStream::tell(Call call)
{
    const std::shared_ptr<Owner> owner = m_owner;
    m_isTelling = true;
    call(*owner);
    m_isTelling = false;
}
