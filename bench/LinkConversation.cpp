#include "LinkConversation.h"

namespace {
constexpr size_t kHeaderBytes = 6;  // magic and length
constexpr size_t kTrailerBytes = 2; // checksum and end mark
constexpr char kEndMark = '\xAC';
constexpr int kPanelType = 1;
constexpr int kChannel = 1;

constexpr char kHeartbeat = 0x15;
constexpr char kHeartbeatAnswer = 0x16;
constexpr char kFeedback = 0x1B;
constexpr char kFeedbackList = 0x1C;
constexpr char kLevel = 0x1D;
constexpr char kCommand = 0x1E;
constexpr char kHandshake = 0x1F;
constexpr char kAcknowledgement = 0x21;
constexpr char kPush = 0x2A;

void appendNumber(std::string &out, std::uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>(number >> shift));
    }
}

std::uint32_t numberAt(std::string_view bytes, size_t offset)
{
    std::uint32_t number = 0;
    for (size_t index = 0; index < 4; ++index) {
        number = number << 8 | static_cast<std::uint8_t>(bytes[offset + index]);
    }
    return number;
}

void appendFrame(std::string &out, std::string_view payload)
{
    unsigned sum = 0;
    for (const char byte : payload) {
        sum += static_cast<std::uint8_t>(byte);
    }
    out.append("VQ");
    appendNumber(out, static_cast<std::uint32_t>(payload.size()));
    out.append(payload);
    out.push_back(static_cast<char>(sum));
    out.push_back(kEndMark);
}

bool isAcknowledged(char code)
{
    return code == kFeedback || code == kFeedbackList || code == kLevel || code == kCommand;
}
} // namespace

LinkConversation::LinkConversation(int deviceNumber)
    : m_deviceNumber(deviceNumber)
{}

void LinkConversation::greet(std::string &out)
{
    std::string payload(1, kHandshake);
    payload += std::to_string(kPanelType) + ':' + std::to_string(m_deviceNumber) + ":bench:1";
    appendFrame(out, payload);
    keepAlive(out); // its answer says that the handshake before it has been taken
}

void LinkConversation::ask(std::string &out)
{
    std::string payload(1, kPush);
    appendNumber(payload, ++m_lastSentId);
    payload += std::to_string(m_deviceNumber) + ':' + std::to_string(kChannel) + ":0";
    appendFrame(out, payload);
}

void LinkConversation::keepAlive(std::string &out)
{
    appendFrame(out, std::string_view(&kHeartbeat, 1));
}

Conversation::Taken LinkConversation::take(std::string_view bytes, std::string &out)
{
    Taken taken;
    while (bytes.size() - taken.bytes > kHeaderBytes) {
        const size_t length = numberAt(bytes, taken.bytes + 2);
        const size_t whole = kHeaderBytes + length + kTrailerBytes;
        if (bytes.size() - taken.bytes < whole) {
            break;
        }
        taken.answers += takePayload(bytes.substr(taken.bytes + kHeaderBytes, length), out) ? 1 : 0;
        taken.bytes += whole;
    }
    return taken;
}

bool LinkConversation::takePayload(std::string_view payload, std::string &out)
{
    if (payload.empty()) {
        return false;
    }
    const char code = payload.front();
    if (code == kHeartbeatAnswer) {
        m_isReady = true;
    }
    if (!isAcknowledged(code) || payload.size() < 5) {
        return false;
    }
    const std::uint32_t id = numberAt(payload, 1);
    std::string acknowledgement(1, kAcknowledgement);
    appendNumber(acknowledgement, id);
    appendFrame(out, acknowledgement);
    const bool isNew = id > m_lastReceivedId;
    m_lastReceivedId = isNew ? id : m_lastReceivedId;
    const std::string expected = std::to_string(kChannel) + ':';
    return isNew && code == kFeedback && payload.substr(5).starts_with(expected);
}
