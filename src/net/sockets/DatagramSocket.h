#pragma once
#include "base/Descriptor.h"
#include "io/IoLoop.h"
#include "io/SocketAddress.h"
#include "net/sockets/SocketErrors.h"

#include <QByteArray>

#include <memory>
#include <vector>

class SocketLoop;

/// One UDP socket of the program.
/// Owns: the descriptor, and the owner together with whoever else holds it. Thread: the main thread; nothing waits.
/// Ends: close(), or with the loop.
class DatagramSocket final : public IoHandler, public std::enable_shared_from_this<DatagramSocket>
{
public:
    struct Datagram
    {
        QByteArray bytes;
        SocketAddress sender;
    };

    /// Who opened it; called from the event loop, one call at a time.
    class Owner
    {
    public:
        virtual ~Owner() = default;
        virtual void received(const std::vector<Datagram> &datagrams) = 0; // at least one
        virtual void failed(int error) = 0;                                // the socket goes on
    };

    enum class Input { Read, Ignore };
    static constexpr int kMostPerTurn = 8;

    struct Result
    {
        std::shared_ptr<DatagramSocket> socket; // null: see error
        int error = kNoSocketError;
    };
    /// \param own   the address to receive at; port 0: any
    /// \param peer  the only one to talk to; nullptr: anybody
    static Result open(SocketLoop &loop, const SocketAddress &own, const SocketAddress *peer, Input input,
                       std::shared_ptr<Owner> owner);
    ~DatagramSocket() override;

    /// Sends one datagram, to the peer when no destination is named. The error, or kNoSocketError.
    int send(const QByteArray &bytes, const SocketAddress *destination = nullptr);
    void close();

    int descriptor() const override { return m_socket.get(); }
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64) override { return true; }
    void removed() override;

private:
    DatagramSocket(SocketLoop &loop, Descriptor socket, Input input, std::shared_ptr<Owner> owner);
    std::vector<Datagram> readAvailable(int &error) const;
    template <class Call>
    void tell(Call call);

    SocketLoop &m_loop;
    Descriptor m_socket; // none: removed
    const Input m_input;
    std::shared_ptr<Owner> m_owner;
    bool m_isTelling = false;
    bool m_isMuted = false; // input is there and cannot be taken now
};
