#pragma once
#include "Conversation.h"

/// A request as long as a panel's push, which comes back as it is: the floor below every protocol.
class EchoConversation : public Conversation
{
public:
    bool isReady() const override { return true; }
    void greet(std::string &) override {}
    void ask(std::string &out) override { out.append(kRequestBytes, 'x'); }
    Taken take(std::string_view bytes, std::string &) override
    {
        const size_t whole = bytes.size() / kRequestBytes;
        return { whole * kRequestBytes, static_cast<int>(whole) };
    }

private:
    static constexpr size_t kRequestBytes = 22;
};
