#include "tools/arkhost/HostTerminal.h"

#include "base/StopSignals.h"

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {
using namespace std::chrono_literals;

constexpr int kMaxWaiting = 4 * 1024 * 1024; // bytes
constexpr auto kWaitForRoom = 100ms;
constexpr auto kFinish = 1s;
constexpr int kDefaultColumns = 80;

QByteArray gapText(qint64 bytes)
{
    return "\n[" + QByteArray::number(bytes) + " bytes of output are missing here: nobody read them]\n";
}

/// False: the reader has gone, or there is no room on the disk.
bool writeBytes(int descriptor, const QByteArray &bytes)
{
    ssize_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(descriptor, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (written > 0) {
            done += written;
        } else if (written < 0 && errno == EAGAIN) { // somebody who shares the terminal has made it so
            pollfd room{ descriptor, POLLOUT, 0 };
            ::poll(&room, 1, -1);
        } else if (written < 0 && errno != EINTR) {
            return false;
        }
    }
    return true;
}
} // namespace

struct HostTerminal::Shared
{
    std::mutex mutex;
    std::condition_variable hasWork;
    std::condition_variable hasProgress;
    std::deque<QByteArray> queue;
    qint64 waiting = 0; // bytes, with those on their way
    qint64 missing = 0; // bytes that found no room since the last that did
    bool isEnding = false;
};

HostTerminal::HostTerminal(int descriptor)
    : m_descriptor(descriptor)
    , m_shared(std::make_shared<Shared>())
{
    const StopSignals::Blocked blocked; // signals are the main thread's
    m_thread = std::thread([shared = m_shared, descriptor] { writeAll(*shared, descriptor); });
}

HostTerminal::~HostTerminal()
{
    std::unique_lock lock(m_shared->mutex);
    m_shared->isEnding = true;
    m_shared->hasWork.notify_one();
    const bool isOut = m_shared->hasProgress.wait_for(lock, kFinish, [this] { return m_shared->waiting == 0; });
    lock.unlock();
    if (isOut) {
        m_thread.join();
    } else {
        m_thread.detach();
    }
}

bool HostTerminal::isTerminal() const
{
    return ::isatty(m_descriptor) == 1;
}

int HostTerminal::columns() const
{
    winsize size{};
    return ::ioctl(m_descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kDefaultColumns;
}

bool HostTerminal::isIdle() const
{
    const std::lock_guard lock(m_shared->mutex);
    return m_shared->waiting == 0;
}

void HostTerminal::write(const QByteArray &bytes)
{
    if (bytes.isEmpty()) {
        return;
    }
    std::unique_lock lock(m_shared->mutex);
    Shared &shared = *m_shared;
    if (!waitForRoom(lock, bytes.size())) {
        shared.missing += bytes.size();
        return;
    }
    const QByteArray whole = shared.missing > 0 ? gapText(shared.missing) + bytes : bytes;
    shared.missing = 0;
    shared.queue.push_back(whole);
    shared.waiting += whole.size();
    shared.hasWork.notify_one();
}

bool HostTerminal::waitForRoom(std::unique_lock<std::mutex> &lock, int size)
{
    // Once something is missing nobody is waited for until half of the room is free again.
    const auto fits = [this, size] { return m_shared->waiting == 0 || m_shared->waiting + size <= kMaxWaiting; };
    if (m_shared->missing > 0) {
        return m_shared->waiting <= kMaxWaiting / 2;
    }
    return m_shared->hasProgress.wait_for(lock, kWaitForRoom, fits);
}

void HostTerminal::writeAll(Shared &shared, int descriptor)
{
    std::unique_lock lock(shared.mutex);
    while (true) {
        shared.hasWork.wait(lock, [&shared] { return !shared.queue.empty() || shared.isEnding; });
        if (shared.queue.empty()) {
            return;
        }
        const QByteArray bytes = std::move(shared.queue.front());
        shared.queue.pop_front();
        lock.unlock();
        writeBytes(descriptor, bytes); // what cannot be written is lost; later output may find room again
        lock.lock();
        shared.waiting -= bytes.size();
        shared.hasProgress.notify_all();
    }
}
