#pragma once
#include "base/Frame.h"

#include <memory>

/// A connection as file transfers see it.
class TransferPeer
{
public:
    virtual ~TransferPeer() = default;
    virtual void sendFrame(const QByteArray &frames) = 0; // whole ones; any thread

    /// While a transfer is active the connection hands on its frames only, also damaged chunks, ignores all others
    /// and does not count missing heartbeats. Any thread.
    virtual void setTransferring(bool isTransferring) = 0;
};

/// Takes the frames of file transfers from all connections.
class FileTransfers
{
public:
    virtual ~FileTransfers() = default;
    virtual void take(const std::shared_ptr<TransferPeer> &peer, const Frame &frame) = 0; // any thread; returns at once
    virtual void peerGone(const TransferPeer &peer) = 0;                                  // likewise
};
