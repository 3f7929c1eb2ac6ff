#pragma once
#include "admin/TransferSession.h"
#include "net/transfer/FileTransfers.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <variant>
#include <vector>

/// Serves the file transfers of all connections on one thread of its own, so that nothing on it, a disk that takes
/// seconds to write, keeps a panel waiting.
/// Owns: the thread and a session per connection, made on its first frame. Thread: take() and peerGone() on any thread;
///       the rest by the owner. Ends: after whatever calls it; unfinished uploads leave nothing behind.
class TransferService final : public FileTransfers
{
public:
    static constexpr qint64 kTickMs = 200;
    /// Of one connection; more is dropped as if the network had lost it. Senders stop for confirmations long before.
    static constexpr int kMaxWaitingBytes = 4 * 1024 * 1024;

    explicit TransferService(TransferFiles &files, const TransferTimes &times = {}, qint64 tickMs = kTickMs);
    ~TransferService() override;

    void take(const std::shared_ptr<TransferPeer> &peer, const Frame &frame) override;
    void peerGone(const TransferPeer &peer) override;

private:
    struct Arrival
    {
        const TransferPeer *key;
        std::weak_ptr<TransferPeer> peer;
        std::optional<Frame> frame; // none: the peer has gone
    };
    struct Served
    {
        Served(std::weak_ptr<TransferPeer> connection, TransferFiles &files, const TransferTimes &times)
            : peer(std::move(connection))
            , session(files, times)
        {}
        std::weak_ptr<TransferPeer> peer;
        TransferSession session;
        bool isActive = false; // as the peer was told
        QByteArray out;
    };
    void run();
    void serve(Arrival &arrival, qint64 nowMs);
    void deliver(Served &served);

    TransferFiles &m_files;
    const TransferTimes m_times;
    const qint64 m_tickMs;
    std::map<const TransferPeer *, Served> m_sessions; // the thread's own, like m_taken

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<Arrival> m_arrived;                // guarded by m_mutex, like the next two
    std::map<const TransferPeer *, int> m_waiting; // bytes in m_arrived
    bool m_isEnding = false;
    std::vector<Arrival> m_taken;
    std::thread m_thread; // last: it uses all the others
};
