#include "admin/TransferService.h"
#include "io/IoThread.h"

namespace {
constexpr int kDeliverBytes = 256; // a few confirmations of blocks
} // namespace

TransferService::TransferService(TransferFiles &files, const TransferTimes &times, qint64 tickMs)
    : m_files(files)
    , m_times(times)
    , m_tickMs(tickMs)
    , m_thread([this] { run(); })
{}

TransferService::~TransferService()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void TransferService::take(const std::shared_ptr<TransferPeer> &peer, const Frame &frame)
{
    bool isFirst = false;
    {
        const std::lock_guard lock(m_mutex);
        int &waiting = m_waiting[peer.get()];
        const int bytes = frame.body.size() + kFrameOverhead;
        if (waiting + bytes > kMaxWaitingBytes) {
            return;
        }
        waiting += bytes;
        isFirst = m_arrived.empty();
        m_arrived.push_back({ peer.get(), peer, frame });
    }
    if (isFirst) { // else the thread has been called already
        m_wake.notify_one();
    }
}

void TransferService::peerGone(const TransferPeer &peer)
{
    {
        const std::lock_guard lock(m_mutex);
        m_arrived.push_back({ &peer, {}, std::nullopt });
    }
    m_wake.notify_one();
}

void TransferService::run()
{
    qint64 tickAtMs = linkClockMs() + m_tickMs;
    while (true) {
        {
            std::unique_lock lock(m_mutex);
            const auto hasWork = [this] { return m_isEnding || !m_arrived.empty(); };
            if (m_sessions.empty()) {
                m_wake.wait(lock, hasWork);
            } else {
                m_wake.wait_for(lock, std::chrono::milliseconds(std::max<qint64>(tickAtMs - linkClockMs(), 0)),
                                hasWork);
            }
            if (m_isEnding) {
                return;
            }
            m_taken.swap(m_arrived);
            m_waiting.clear();
        }
        const qint64 nowMs = linkClockMs();
        for (Arrival &arrival : m_taken) {
            serve(arrival, nowMs);
        }
        m_taken.clear();
        const bool isTick = nowMs >= tickAtMs;
        tickAtMs = isTick ? nowMs + m_tickMs : tickAtMs;
        for (auto &[key, served] : m_sessions) {
            if (isTick) {
                served.session.tick(nowMs, served.out);
            }
            deliver(served);
        }
    }
}

void TransferService::serve(Arrival &arrival, qint64 nowMs)
{
    if (!arrival.frame) {
        m_sessions.erase(arrival.key);
        return;
    }
    auto found = m_sessions.find(arrival.key);
    if (found == m_sessions.end()) {
        if (arrival.peer.expired()) {
            return;
        }
        found = m_sessions.try_emplace(arrival.key, arrival.peer, m_files, m_times).first;
    }
    Served &served = found->second;
    served.session.take(*arrival.frame, nowMs, served.out);
    if (served.out.size() >= kDeliverBytes) {
        deliver(served); // the peer goes on while we do
    }
}

void TransferService::deliver(Served &served)
{
    const bool isActive = served.session.isActive();
    if (isActive == served.isActive && served.out.isEmpty()) {
        return;
    }
    if (const std::shared_ptr<TransferPeer> peer = served.peer.lock()) {
        if (isActive != served.isActive) {
            served.isActive = isActive;
            peer->setTransferring(isActive); // first: the peer answers at once
        }
        if (!served.out.isEmpty()) {
            peer->sendFrame(served.out);
        }
    }
    served.out.clear();
}
