#include "tools/arkctl/screen/MouseReport.h"

#include <algorithm>
#include <array>

namespace {
constexpr size_t kLongest = 20;
constexpr int kHighestNumber = 9999;

/// \param button  the lowest two bits: which one; then Shift, Alt and Ctrl; moved; wheel
std::optional<Key> keyOf(int button, int column, int row, bool isRelease)
{
    constexpr int kWhich = 3;
    constexpr int kModifiers = 4 + 8 + 16;
    constexpr int kMoved = 32;
    constexpr int kWheel = 64;
    using Kind = Key::Kind;
    const auto key = [column, row](Kind kind) { return Key{ kind, 0, row - 1, column - 1 }; };
    switch (button & ~kModifiers) {
    case 0:
        return key(isRelease ? Kind::MouseUp : Kind::MouseDown);
    case kWhich: // the older form does not say which one was released
        return isRelease ? std::optional(key(Kind::MouseUp)) : std::nullopt;
    case kMoved:
        return key(Kind::MouseMove);
    case kWheel:
        return key(Kind::WheelUp);
    case kWheel + 1:
        return key(Kind::WheelDown);
    default:
        return std::nullopt;
    }
}
} // namespace

void MouseReport::begin(Form form)
{
    m_form = form;
    m_isOpen = true;
    m_taken.clear();
}

std::optional<Key> MouseReport::take(char32_t character)
{
    return m_form == Form::Numbers ? takeNumbers(character) : takeCharacter(character);
}

std::optional<Key> MouseReport::takeNumbers(char32_t character)
{
    const bool isPart = (character >= U'0' && character <= U'9') || character == U';';
    if (isPart && m_taken.size() < kLongest) {
        m_taken += character;
        return std::nullopt;
    }
    m_isOpen = false;
    if (character != U'M' && character != U'm') {
        return std::nullopt;
    }
    std::array<int, 3> numbers{};
    size_t place = 0;
    for (const char32_t part : m_taken) {
        if (part == U';') {
            ++place;
        } else if (place < numbers.size()) {
            numbers.at(place) = std::min(numbers.at(place) * 10 + static_cast<int>(part - U'0'), kHighestNumber);
        }
    }
    return place + 1 == numbers.size() ? keyOf(numbers[0], numbers[1], numbers[2], character == U'm') : std::nullopt;
}

std::optional<Key> MouseReport::takeCharacter(char32_t character)
{
    constexpr int kOffset = 32;
    m_taken += character;
    if (m_taken.size() < 3) {
        return std::nullopt;
    }
    m_isOpen = false;
    const auto number = [this](size_t place) { return static_cast<int>(m_taken.at(place)) - kOffset; };
    constexpr int kReleased = 3;
    return keyOf(number(0), number(1), number(2), (number(0) & kReleased) == kReleased);
}
