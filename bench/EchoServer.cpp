#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// The least that a server can do: what a client writes is written back to it. It ends by a signal, or by itself
// after kMostSeconds.

namespace {
constexpr int kUsageStatus = 2;
constexpr unsigned kMostSeconds = 1800;

int listenOn(const char *address, const char *port)
{
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
    if (::inet_pton(AF_INET, address, &where.sin_addr) != 1) {
        return -1;
    }
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(socket, reinterpret_cast<const sockaddr *>(&where), sizeof where) != 0 ||
        ::listen(socket, SOMAXCONN) != 0) {
        ::close(socket);
        return -1;
    }
    return socket;
}

void watch(int epoll, int socket)
{
    epoll_event wanted{};
    wanted.events = EPOLLIN;
    wanted.data.fd = socket;
    ::epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &wanted);
}

void acceptAll(int epoll, int listener)
{
    for (int socket = 0; (socket = ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)) >= 0;) {
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        watch(epoll, socket);
    }
}

void echo(int socket)
{
    std::array<char, 4096> buffer;
    const ssize_t size = ::recv(socket, buffer.data(), buffer.size(), 0);
    if (size <= 0 || ::send(socket, buffer.data(), static_cast<size_t>(size), MSG_NOSIGNAL) != size) {
        ::close(socket);
    }
}
} // namespace

int main(int count, char **arguments)
{
    const int listener = count == 3 ? listenOn(arguments[1], arguments[2]) : -1;
    if (listener < 0) {
        std::fprintf(stderr, "Usage: echo_server ADDRESS PORT (a free one)\n");
        return kUsageStatus;
    }
    ::alarm(kMostSeconds);
    const int epoll = ::epoll_create1(EPOLL_CLOEXEC);
    watch(epoll, listener);
    std::array<epoll_event, 256> events;
    for (;;) {
        const int ready = ::epoll_wait(epoll, events.data(), static_cast<int>(events.size()), -1);
        for (int index = 0; index < ready; ++index) {
            const int socket = events[static_cast<size_t>(index)].data.fd;
            if (socket == listener) {
                acceptAll(epoll, listener);
            } else {
                echo(socket);
            }
        }
    }
}
