#include "tools/arkctl/screen/LastingLink.h"
#include <QTimer>

#include <algorithm>

namespace {
constexpr int kFirstPauseMs = 500;
constexpr int kLongestPauseMs = 15000;
constexpr int kWatchMs = 500;
constexpr int kLeastSilenceMs = 3000; // heartbeats are answered every second

QTimer *singleShot(QObject *parent)
{
    auto *const timer = new QTimer(parent);
    timer->setSingleShot(true);
    return timer;
}
} // namespace

LastingLink::LastingLink(const LinkClient::Identity &identity, const RunOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_client(new LinkClient(identity, this))
    , m_patience(singleShot(this))
    , m_pause(singleShot(this))
    , m_watch(new QTimer(this))
{
    m_watch->setInterval(kWatchMs);
    connect(m_pause, &QTimer::timeout, this, &LastingLink::start);
    connect(m_watch, &QTimer::timeout, this, &LastingLink::lookForSilence);
    connect(m_patience, &QTimer::timeout, this, [this] {
        attemptFailed(QStringLiteral("no answer in time"),
                      ConnectionFault::silence(m_options.endpoint, m_client->isConnected()));
    });
    connect(m_client, &LinkClient::failed, this, [this](const QString &reason) {
        attemptFailed(reason, ConnectionFault::refused(m_options.endpoint, reason));
    });
    connect(m_client, &LinkClient::heardStranger, this, [this](const QByteArray &words) {
        attemptFailed(QStringLiteral("something else listens there now"),
                      ConnectionFault::stranger(m_options.endpoint, words));
    });
    connect(m_client, &LinkClient::disconnected, this, [this] {
        attemptFailed(QStringLiteral("the controller closed the connection"),
                      ConnectionFault::closed(m_options.endpoint));
    });
    connect(m_client, &LinkClient::introduced, this, [this] {
        m_patience->stop();
        m_watch->start();
        m_state = State::Connected;
        m_failedAttempts = 0;
        m_wasConnected = true;
        Q_EMIT connected();
    });
}

int LastingLink::pauseLeftMs() const
{
    return std::max(0, m_pause->remainingTime());
}

int LastingLink::pauseMs(int failedAttempts)
{
    int pause = kFirstPauseMs;
    for (int attempt = 0; attempt < failedAttempts && pause < kLongestPauseMs; ++attempt) {
        pause *= 2;
    }
    return std::min(pause, kLongestPauseMs);
}

void LastingLink::start()
{
    m_state = State::Connecting;
    m_patience->start(m_options.timeoutMs);
    Q_EMIT attempted();
    m_client->connectTo(m_options.endpoint.host, m_options.endpoint.port);
}

/// Also the loss of a connection; what the end of the socket tells beyond that is not listened to.
void LastingLink::attemptFailed(const QString &why, const ConnectionFault &fault)
{
    if (m_state == State::Pausing) {
        return;
    }
    const bool wasConnected = m_state == State::Connected;
    m_state = State::Pausing;
    m_patience->stop();
    m_watch->stop();
    m_client->abort();
    if (!m_wasConnected) {
        Q_EMIT neverConnected(fault);
        return;
    }
    m_pause->start(pauseMs(m_failedAttempts++));
    if (wasConnected) {
        Q_EMIT lost(why);
    } else {
        Q_EMIT attempted();
    }
}

void LastingLink::lookForSilence()
{
    if (m_client->silentMs() > std::max(m_options.timeoutMs, kLeastSilenceMs)) {
        attemptFailed(QStringLiteral("the controller has gone silent"),
                      ConnectionFault::silence(m_options.endpoint, true));
    }
}
