#pragma once
#include <QByteArray>

#include <optional>
#include <vector>

/// The frame of the link, of discovery and of the supervisor socket; docs/formats/link-frame.md has the offsets.
/// An acknowledged message carries its id in the first four bytes of the body, see splitMessageId.
struct Frame
{
    quint8 code = 0;
    QByteArray body;
    bool checksumOk = false;
};

constexpr int kFrameOverhead = 8;              // magic, length, checksum and end mark
constexpr int kMaxStreamPayload = 1024 * 1024; // code and body of a frame on a stream
constexpr int kMaxDatagram = 100;              // a whole discovery frame
constexpr int kMaxDatagramPayload = kMaxDatagram - kFrameOverhead;

/// A whole frame, magic to end mark.
QByteArray frameBytes(quint8 code, const QByteArray &body);

/// A whole frame whose body is the message id and then the body given.
QByteArray messageFrameBytes(quint8 code, quint32 messageId, const QByteArray &body);

/// The message id at the start of a body; nothing when there are fewer than four bytes.
std::optional<quint32> messageIdOf(const QByteArray &body);

/// Cuts a byte stream into frames. Knows no socket, clock or signal.
class FrameParser
{
public:
    /// \param maxPayload  longest code and body accepted, in bytes; a frame that announces more is skipped
    explicit FrameParser(int maxPayload = kMaxStreamPayload);
    void setMaxPayload(int maxPayload);                   // of the frames that begin from now on
    int heldBytes() const { return m_frame.body.size(); } // of a frame that is not whole yet
    bool isWithinFrame() const { return m_state != State::Magic1 && m_state != State::Magic2; }

    /// Takes the next bytes, in pieces of any size; returns the frames they complete, oldest first.
    /// Bytes outside a frame are skipped; a frame with a wrong end mark is dropped. A frame with a wrong checksum is
    /// returned and marked. Memory grows with the bytes received only, never with an announced length.
    std::vector<Frame> feed(const QByteArray &bytes);
    void feed(const char *bytes, int count, std::vector<Frame> &frames); // the same, appended to frames

private:
    enum class State : quint8 { Magic1, Magic2, Length, Code, Body, Checksum, End };
    void step(quint8 byte, std::vector<Frame> &frames);
    int takeBody(const char *bytes, int count); // how many it took
    void refuseLength();
    void finish(std::vector<Frame> &frames);

    quint32 m_maxPayload;
    State m_state = State::Magic1;
    quint8 m_lengthBytes = 0; // of the four, so far
    quint8 m_checksum = 0;
    quint32 m_length = 0;
    Frame m_frame;
};
