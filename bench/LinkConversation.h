#pragma once
#include "Conversation.h"

#include <cstdint>

/// A touch panel at the controller: it introduces itself, pushes one button and takes the feedback of its channel.
/// The frames are written out here, not made by the runtime's own codec, so that both ends do not share a fault.
class LinkConversation : public Conversation
{
public:
    explicit LinkConversation(int deviceNumber);

    bool isReady() const override { return m_isReady; }
    void greet(std::string &out) override;
    void ask(std::string &out) override;
    void keepAlive(std::string &out) override;
    Taken take(std::string_view bytes, std::string &out) override;

private:
    bool takePayload(std::string_view payload, std::string &out); // true: an answer

    int m_deviceNumber;
    std::uint32_t m_lastSentId = 0;
    std::uint32_t m_lastReceivedId = 0; // an id not above it has been seen: the frame was sent again
    bool m_isReady = false;
};
