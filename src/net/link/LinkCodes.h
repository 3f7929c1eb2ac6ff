#pragma once
#include <QtGlobal>

/// The message codes of the link, the first payload byte of a frame. docs/formats/link-frame.md describes the bodies.
namespace LinkCode {
// Keep-alive, identity, acknowledgement.
constexpr quint8 kInformation = 0x11;
constexpr quint8 kInformationRequest = 0x12;
constexpr quint8 kMonitorLine = 0x14;
constexpr quint8 kHeartbeat = 0x15;
constexpr quint8 kHeartbeatAnswer = 0x16;
constexpr quint8 kIdentify = 0x19;
constexpr quint8 kHandshake = 0x1F;
constexpr quint8 kAcknowledgement = 0x21;

// Management tools.
constexpr quint8 kTextCommand = 0x18;
constexpr quint8 kTextReply = 0x2E;

// Port tests; asked for with either code, reported with the first.
constexpr quint8 kPortTestReport = 0x35;
constexpr quint8 kPortTestRequest = 0x40;

// Panels report; the three are acknowledged.
constexpr quint8 kPush = 0x2A;
constexpr quint8 kRelease = 0x2B;
constexpr quint8 kLevelReport = 0x2C;

// Panels are asked; the answers of all but the first have the code of the question plus one.
constexpr quint8 kStatusQuery = 0x1A;
constexpr quint8 kStatusReply = 0x20;
constexpr quint8 kTextQuery = 0x32;
constexpr quint8 kButtonTextReply = 0x33;
constexpr quint8 kPropertyQuery = 0x36;
constexpr quint8 kPropertyReply = 0x37;
constexpr quint8 kStatePropertyQuery = 0x38;
constexpr quint8 kStatePropertyReply = 0x39;
constexpr quint8 kPagePropertyQuery = 0x3C;
constexpr quint8 kPagePropertyReply = 0x3D;

// Panels are told; all but the snapshot are acknowledged.
constexpr quint8 kChannelStatus = 0x1B;
constexpr quint8 kListStatus = 0x1C;
constexpr quint8 kLevel = 0x1D;
constexpr quint8 kCommand = 0x1E;
constexpr quint8 kSnapshot = 0x34;
constexpr quint8 kSetProperty = 0x3A;
constexpr quint8 kSetStateProperty = 0x3B;
constexpr quint8 kSetPageProperty = 0x3E;
constexpr quint8 kSetContainerProperty = 0x41;
constexpr quint8 kContainerCall = 0x42;

// File transfer; docs/formats/file-transfer.md describes the bodies.
constexpr quint8 kUploadRequest = 0x22;    // of a tool
constexpr quint8 kDownloadAccepted = 0x22; // of a controller
constexpr quint8 kDataChunk = 0x23;
constexpr quint8 kEndOfBlock = 0x24;
constexpr quint8 kConfirmation = 0x25;
constexpr quint8 kEndOfFile = 0x26;
constexpr quint8 kUploadComplete = 0x27;
constexpr quint8 kDownloadRequest = 0x28;
constexpr quint8 kDownloadRefused = 0x29;
constexpr quint8 kCancelTransfer = 0x2F; // of a tool, on the console port only
constexpr bool isTransfer(quint8 code)
{
    return code >= kUploadRequest && code <= kDownloadRefused;
}

// Between controllers; acknowledged.
constexpr quint8 kController = 0x3F;
} // namespace LinkCode

/// What a peer calls itself in its handshake; every other number is a panel.
namespace PeerType {
constexpr int kUnknown = -1; // no handshake yet
constexpr int kManagementTool = 2;
constexpr int kController = 3;
} // namespace PeerType
