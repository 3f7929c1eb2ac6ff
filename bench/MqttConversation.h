#pragma once
#include "Conversation.h"

#include <cstdint>

/// A client of an MQTT 3.1.1 broker at quality of service 1: it subscribes to a topic of its own, publishes to it
/// and takes its message back. Both directions are acknowledged, as they are between a panel and the controller.
class MqttConversation : public Conversation
{
public:
    explicit MqttConversation(int clientNumber);

    bool isReady() const override { return m_isReady; }
    void greet(std::string &out) override;
    void ask(std::string &out) override;
    void keepAlive(std::string &out) override;
    Taken take(std::string_view bytes, std::string &out) override;

private:
    bool takePacket(std::uint8_t type, std::string_view body, std::string &out); // true: an answer

    std::string m_name;
    std::string m_topic;
    std::uint16_t m_lastSentId = 0;
    bool m_isReady = false;
};
