#pragma once
#include <QByteArray>

class AST;
class Dispatcher;

/// Who is at the other end. Empty for the online and offline events of clients.
struct SocketPeer
{
    QByteArray address{};
    int port = 0;
};

/// What the program hears of its sockets: a monitor line and a data event of device 0:P:0. The handlers have run when
/// a function returns, and may have closed any socket, or ended the program.
/// Owns: nothing. Thread: the main thread. Ends: with the last socket; after stop() nothing is told any more.
class SocketEvents
{
public:
    SocketEvents(AST &program, Dispatcher &dispatcher);

    void stop();

    void online(int localPort, const SocketPeer &peer = {});
    void offline(int localPort, const SocketPeer &peer = {});
    void data(int localPort, const QByteArray &bytes, const SocketPeer &peer);
    void error(int localPort, int number, const QString &farEnd); // farEnd: for people
    void refusedAddress(int localPort); // without a monitor line: the built-in says what is wrong

private:
    AST *m_program; // nullptr after stop()
    Dispatcher *m_dispatcher;
};
