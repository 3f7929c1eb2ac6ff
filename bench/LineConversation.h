#pragma once
#include "Conversation.h"

/// One line in, one line out. Every line names its client: a server may tell every answer to all of its connections,
/// and a client heeds its own.
class LineConversation : public Conversation
{
public:
    explicit LineConversation(int client)
        : m_line("client " + std::to_string(client) + "\n")
    {}

    bool isReady() const override { return true; }
    void greet(std::string &) override {}
    void ask(std::string &out) override { out += m_line; }
    Taken take(std::string_view bytes, std::string &) override
    {
        Taken taken;
        for (size_t end = 0; (end = bytes.find('\n', taken.bytes)) != std::string_view::npos;) {
            const std::string_view line = bytes.substr(taken.bytes, end + 1 - taken.bytes);
            taken.answers += line.starts_with(kAnswer) && line.substr(kAnswer.size()) == m_line ? 1 : 0;
            taken.bytes = end + 1;
        }
        return taken;
    }

private:
    static constexpr std::string_view kAnswer = "OK ";
    const std::string m_line;
};
