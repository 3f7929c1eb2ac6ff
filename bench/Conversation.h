#pragma once
#include <cstddef>
#include <string>
#include <string_view>

/// What one client says to its server, and what it makes of the answers. Knows no socket and no clock.
class Conversation
{
public:
    /// What was found at the front of the received bytes.
    struct Taken
    {
        size_t bytes = 0; // of whole messages; the rest is shown again together with what follows it
        int answers = 0;  // to ask(); one each is expected
    };

    virtual ~Conversation() = default;

    virtual bool isReady() const = 0; // the greeting is over: ask() may begin
    virtual void greet(std::string &out) = 0;
    virtual void ask(std::string &out) = 0;
    virtual void keepAlive(std::string &) {}

    /// Takes whole messages and appends what they demand in return to out.
    virtual Taken take(std::string_view bytes, std::string &out) = 0;
};
