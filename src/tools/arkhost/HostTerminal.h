#pragma once
#include <QByteArray>

#include <memory>
#include <mutex>
#include <thread>

/// Standard output or standard error, written by a thread of its own, so that a terminal that stands still (Control-S,
/// a reader that has stopped) stops neither the controller nor its supervisor.
/// A reader that keeps reading gets every byte: the writer waits for it a little while. One that does not costs what
/// would not fit into 4 MiB, and is told how much that was.
/// Owns: the thread. Thread: the main thread. Ends: when all is out, or after a second.
class HostTerminal
{
public:
    explicit HostTerminal(int descriptor);
    ~HostTerminal();
    HostTerminal(const HostTerminal &) = delete;
    HostTerminal &operator=(const HostTerminal &) = delete;

    bool isTerminal() const;
    int columns() const;
    bool isIdle() const; // all is out

    void write(const QByteArray &bytes);

private:
    struct Shared;
    static void writeAll(Shared &shared, int descriptor);
    bool waitForRoom(std::unique_lock<std::mutex> &lock, int size);

    const int m_descriptor;
    std::shared_ptr<Shared> m_shared; // with the thread, which may outlive this object when nobody reads
    std::thread m_thread;
};
