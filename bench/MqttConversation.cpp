#include "MqttConversation.h"

namespace {
constexpr std::uint8_t kConnect = 0x10;
constexpr std::uint8_t kConnectAnswer = 0x20;
constexpr std::uint8_t kPublish = 0x30; // with the quality of service in bits 1 and 2
constexpr std::uint8_t kPublishAnswer = 0x40;
constexpr std::uint8_t kSubscribe = 0x82;
constexpr std::uint8_t kSubscribeAnswer = 0x90;
constexpr std::uint8_t kPing = 0xC0;
constexpr std::uint8_t kQuality1 = 0x02;
constexpr std::uint16_t kKeepAliveSeconds = 60;

void appendShort(std::string &out, size_t number)
{
    out.push_back(static_cast<char>(number >> 8));
    out.push_back(static_cast<char>(number));
}

void appendText(std::string &out, std::string_view text)
{
    appendShort(out, text.size());
    out.append(text);
}

/// All packets here are shorter than 128 bytes, so that one byte holds the length.
void appendPacket(std::string &out, std::uint8_t type, std::string_view body)
{
    out.push_back(static_cast<char>(type));
    out.push_back(static_cast<char>(body.size()));
    out.append(body);
}
} // namespace

MqttConversation::MqttConversation(int clientNumber)
    : m_name("bench" + std::to_string(clientNumber))
    , m_topic("panel/" + std::to_string(clientNumber))
{}

void MqttConversation::greet(std::string &out)
{
    std::string body;
    appendText(body, "MQTT");
    body.push_back(4);    // protocol level: 3.1.1
    body.push_back(0x02); // a clean session
    appendShort(body, kKeepAliveSeconds);
    appendText(body, m_name);
    appendPacket(out, kConnect, body);
}

void MqttConversation::ask(std::string &out)
{
    m_lastSentId = m_lastSentId == 0xFFFF ? 1 : static_cast<std::uint16_t>(m_lastSentId + 1);
    std::string body;
    appendText(body, m_topic);
    appendShort(body, m_lastSentId);
    body.append("1:1");
    appendPacket(out, kPublish | kQuality1, body);
}

void MqttConversation::keepAlive(std::string &out)
{
    appendPacket(out, kPing, {});
}

Conversation::Taken MqttConversation::take(std::string_view bytes, std::string &out)
{
    Taken taken;
    while (bytes.size() - taken.bytes >= 2) {
        const auto length = static_cast<std::uint8_t>(bytes[taken.bytes + 1]);
        if (bytes.size() - taken.bytes < size_t(2) + length) {
            break;
        }
        const auto type = static_cast<std::uint8_t>(bytes[taken.bytes]);
        taken.answers += takePacket(type, bytes.substr(taken.bytes + 2, length), out) ? 1 : 0;
        taken.bytes += size_t(2) + length;
    }
    return taken;
}

bool MqttConversation::takePacket(std::uint8_t type, std::string_view body, std::string &out)
{
    if (type == kConnectAnswer) {
        std::string request;
        appendShort(request, 1);
        appendText(request, m_topic);
        request.push_back(1); // at most quality of service 1
        appendPacket(out, kSubscribe, request);
        return false;
    }
    if (type == kSubscribeAnswer) {
        m_isReady = true;
        return false;
    }
    const size_t idOffset = 2 + m_topic.size();
    if ((type & 0xF6) != (kPublish | kQuality1) || body.size() < idOffset + 2) {
        return false;
    }
    appendPacket(out, kPublishAnswer, body.substr(idOffset, 2));
    return true;
}
