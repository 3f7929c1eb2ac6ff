#include "io/InterfaceEvents.h"

#include <cerrno>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

Descriptor openInterfaceEvents()
{
    Descriptor descriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, NETLINK_ROUTE));
    sockaddr_nl wanted{};
    wanted.nl_family = AF_NETLINK;
    wanted.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (::bind(descriptor.get(), reinterpret_cast<const sockaddr *>(&wanted), sizeof wanted) != 0) {
        return {};
    }
    return descriptor;
}

void takeInterfaceEvents(int descriptor)
{
    char bytes[4096];
    // ENOBUFS says that some were lost, and that more can be read.
    while (::recv(descriptor, bytes, sizeof bytes, 0) > 0 || errno == EINTR || errno == ENOBUFS) {
    }
}
