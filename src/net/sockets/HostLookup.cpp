#include "net/sockets/HostLookup.h"
#include "base/Descriptor.h"

#include "base/StopSignals.h"
#include "io/SocketAddress.h"
#include "net/sockets/SocketLoop.h"

#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

#include <netdb.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {
std::atomic<int> runningLookups{ 0 };
}

struct HostLookup::Shared
{
    explicit Shared(const QString &hostName)
        : name(hostName.toStdString())
        , done(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    {}

    void run() // on the thread
    {
        addrinfo hints{};
        hints.ai_socktype = SOCK_STREAM;
        addrinfo *found = nullptr;
        if (::getaddrinfo(name.c_str(), nullptr, &hints, &found) == 0) {
            const std::lock_guard lock(mutex);
            for (const addrinfo *each = found; each; each = each->ai_next) {
                std::memcpy(&addresses.emplace_back().storage, each->ai_addr, each->ai_addrlen);
            }
            ::freeaddrinfo(found);
        }
        const quint64 one = 1;
        [[maybe_unused]] const ssize_t written = ::write(done.get(), &one, sizeof one);
        --runningLookups;
    }

    const std::string name;
    const Descriptor done; // an eventfd
    std::mutex mutex;      // guards what follows
    std::vector<SocketAddress> addresses;
};

bool HostLookup::start(SocketLoop &loop, const QString &name, Found found)
{
    const auto shared = std::make_shared<Shared>(name);
    if (!shared->done.isOpen() || runningLookups >= kMostAtOnce) {
        return false;
    }
    const std::shared_ptr<HostLookup> lookup(new HostLookup(shared, std::move(found)));
    if (!loop.add(lookup, EPOLLIN)) {
        return false;
    }
    const StopSignals::Blocked blocked;
    try {
        ++runningLookups;
        std::thread([shared] { shared->run(); }).detach();
        return true;
    } catch (const std::system_error &) { // no more threads
        --runningLookups;
        loop.io().remove(*lookup);
        return false;
    }
}

HostLookup::HostLookup(std::shared_ptr<Shared> shared, Found found)
    : m_shared(std::move(shared))
    , m_found(std::move(found))
{}

int HostLookup::descriptor() const
{
    return m_shared->done.get();
}

bool HostLookup::ready(quint32, qint64)
{
    quint64 count = 0;
    if (::read(m_shared->done.get(), &count, sizeof count) < 0) {
        return true;
    }
    QList<QHostAddress> addresses;
    {
        const std::lock_guard lock(m_shared->mutex);
        for (const SocketAddress &address : m_shared->addresses) {
            addresses << address.host();
        }
    }
    m_found(addresses);
    return false;
}
