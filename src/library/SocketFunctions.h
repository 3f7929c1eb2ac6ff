#pragma once
#include "library/LibraryFunction.h"
#include "program/SocketActions.h"

// The program's own sockets, devices 0:P:0, and what it can learn of the controller's network.

/// The base of what needs the program's sockets. While a program is only looked at there are none, and nothing happens.
class SocketFunction : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;

protected:
    static SocketActions *sockets(const ArgumentList &arguments);
};

/// ip_client_open(P, address, port [, protocol]): 0 in any case; what comes of it is told by events.
/// ip_bound_client_open(P, local port, address, port [, protocol]): the same from a port of its own.
class IpClientOpenFunc : public SocketFunction
{
public:
    enum class Bound { No, Yes };
    explicit IpClientOpenFunc(const QString &name, Bound bound = Bound::No)
        : SocketFunction(name)
        , m_bound(bound)
    {}
    void call(const ArgumentList &arguments) override;

private:
    int open(const ArgumentList &arguments) const;

    const Bound m_bound;
};

/// ip_server_open(P, port [, protocol]): 0, or a status below it.
class IpServerOpenFunc : public SocketFunction
{
public:
    using SocketFunction::SocketFunction;
    void call(const ArgumentList &arguments) override;

private:
    int open(const ArgumentList &arguments) const;
};

/// websocket_server_open(P, port, name): 0, or a status below it.
class WebSocketServerOpenFunc : public SocketFunction
{
public:
    using SocketFunction::SocketFunction;
    void call(const ArgumentList &arguments) override;

private:
    int open(const ArgumentList &arguments) const;
};

/// websocket_client_open(P, url): 0, or a status below it.
class WebSocketClientOpenFunc : public SocketFunction
{
public:
    using SocketFunction::SocketFunction;
    void call(const ArgumentList &arguments) override;

private:
    static int open(const ArgumentList &arguments);
};

/// ip_client_close(P) and its companions.
class SocketCloseFunc : public SocketFunction
{
public:
    using Close = void (SocketActions::*)(int localPort);
    SocketCloseFunc(const QString &name, Close close)
        : SocketFunction(name)
        , m_close(close)
    {}
    void call(const ArgumentList &arguments) override;

private:
    const Close m_close;
};

class IpServerCloseFunc : public SocketCloseFunc // the only one with a result
{
public:
    explicit IpServerCloseFunc(const QString &name)
        : SocketCloseFunc(name, &SocketActions::closeServer)
    {}
    void call(const ArgumentList &arguments) override;
};

/// tcp_send(host, port, data), udp_send(address, port, data): in the background, on a socket of its own.
class SendOnceFunc : public SocketFunction
{
public:
    SendOnceFunc(const QString &name, SocketActions::Protocol protocol)
        : SocketFunction(name)
        , m_protocol(protocol)
    {}
    void call(const ArgumentList &arguments) override;

private:
    const SocketActions::Protocol m_protocol;
};

/// get_ip_addr([form]): this controller's addresses as texts; with 1 as rows of four numbers.
class GetIPFunc : public SocketFunction
{
public:
    using SocketFunction::SocketFunction;
    void call(const ArgumentList &arguments) override;
};

/// get_mac_addr([separator]): its hardware addresses as texts with that character; without one as rows of six numbers.
class GetMACFunc : public SocketFunction
{
public:
    using SocketFunction::SocketFunction;
    void call(const ArgumentList &arguments) override;
};

/// wakeup_onlan(mac [, address [, port]]): wakes a machine that sleeps.
class WakeupOnLanFunc : public SocketFunction
{
public:
    using SocketFunction::SocketFunction;
    void call(const ArgumentList &arguments) override;
};
