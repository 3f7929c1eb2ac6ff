#pragma once
#include <string>
#include <variant>
#include <vector>

/// Channels or levels as one types them: "1-24,101" is those numbers, in order and each once. At most 1,000;
/// otherwise a text says what is wrong.
std::variant<std::vector<int>, std::string> parseCodeList(const std::string &text);

/// Two numbers with a "-" between them, such as 0-100 or -80-0.
struct LevelRange
{
    int lowest = 0;
    int highest = 255;
};
std::variant<LevelRange, std::string> parseLevelRange(const std::string &text);
