#include "net/link/LinkEvents.h"
#include "net/link/LinkCodes.h"

#include <algorithm>
#include <limits>

namespace {
/// Reads numbers separated by ":"; empty fields vanish. A field that is not a number counts as far as it is one.
class NumberReader
{
public:
    explicit NumberReader(const QByteArray &body)
        : m_next(body.begin())
        , m_end(body.end())
    {}

    std::optional<int> number()
    {
        m_next = std::find_if(m_next, m_end, [](char c) { return c != ':'; });
        if (m_next == m_end) {
            return std::nullopt;
        }
        const auto fieldEnd = std::find(m_next, m_end, ':');
        const auto first = std::find_if(m_next, fieldEnd, [](char c) { return c != ' '; });
        const bool isNegative = first != fieldEnd && *first == '-';
        auto digit = isNegative || (first != fieldEnd && *first == '+') ? first + 1 : first;
        qint64 value = 0;
        for (; digit != fieldEnd && *digit >= '0' && *digit <= '9'; ++digit) {
            value = std::min<qint64>(value * 10 + (*digit - '0'), std::numeric_limits<int>::max());
        }
        m_next = fieldEnd;
        return static_cast<int>(isNegative ? -value : value);
    }

    std::optional<int> natural() // not below 0
    {
        const std::optional<int> value = number();
        return value && *value >= 0 ? value : std::nullopt;
    }

private:
    QByteArray::const_iterator m_next;
    QByteArray::const_iterator m_end;
};

/// Takes the text up to the next ":" off the front of rest; nothing when there is no ":".
std::optional<QByteArray> takeField(QByteArray &rest)
{
    const int colon = rest.indexOf(':');
    if (colon < 0) {
        return std::nullopt;
    }
    QByteArray field = rest.left(colon);
    rest.remove(0, colon + 1);
    return field;
}

std::optional<int> takeNumberField(QByteArray &rest)
{
    const std::optional<QByteArray> field = takeField(rest);
    bool converts = false;
    const int value = field ? field->toInt(&converts) : 0;
    return converts ? std::optional(value) : std::nullopt;
}

bool takePrefix(QByteArray &rest, const char *prefix)
{
    if (!rest.startsWith(prefix)) {
        return false;
    }
    rest.remove(0, static_cast<int>(qstrlen(prefix)));
    return true;
}

std::optional<LinkEvent> parseHandshake(QByteArray rest)
{
    const std::optional<int> type = takeNumberField(rest);
    const std::optional<int> number = takeNumberField(rest);
    const std::optional<QByteArray> name = takeField(rest);
    if (!type || !number || !name || *type < 0 || *number < 0) {
        return std::nullopt;
    }
    return PeerIntroduced{ *type, *number, -1, *name, rest };
}

std::optional<LinkEvent> parseButton(bool isPressed, const QByteArray &body)
{
    NumberReader reader(body);
    const auto device = reader.natural();
    const auto channel = reader.natural();
    const auto level = reader.natural();
    if (!device || !channel || !level) {
        return std::nullopt;
    }
    return ButtonReport{ isPressed, *device, *channel, *level };
}

std::optional<LinkEvent> parseLevel(const QByteArray &body)
{
    NumberReader reader(body);
    const auto device = reader.natural();
    const auto channel = reader.natural();
    const auto level = reader.natural();
    const auto value = reader.number();
    if (!device || !channel || !level || !value) {
        return std::nullopt;
    }
    return LevelReport{ *device, *channel, *level, *value };
}

std::optional<LinkEvent> parseStatus(const QByteArray &body)
{
    NumberReader reader(body);
    const auto device = reader.natural();
    const auto channel = reader.natural();
    const auto status = reader.natural();
    if (!device || !channel || !status) {
        return std::nullopt;
    }
    return StatusReply{ *device, *channel, *status };
}

std::optional<LinkEvent> parseButtonText(QByteArray rest)
{
    if (!takePrefix(rest, "text:")) {
        return std::nullopt;
    }
    const auto channel = takeNumberField(rest);
    const auto state = takeNumberField(rest);
    if (!channel || !state) {
        return std::nullopt;
    }
    return ButtonTextReply{ *channel, *state, rest };
}

std::optional<LinkEvent> finishProperty(PropertyReply reply, QByteArray rest)
{
    const std::optional<QByteArray> name = takeField(rest);
    const auto type = name ? panelPropertyType(reply.kind, *name) : std::nullopt;
    if (!type) {
        return std::nullopt;
    }
    reply.name = *name;
    reply.value = *type == PropertyType::Text ? QVariant(rest) : QVariant(static_cast<qint64>(rest.toLongLong()));
    return reply;
}

std::optional<LinkEvent> parseProperty(QByteArray rest)
{
    PropertyReply reply;
    const auto channel = takePrefix(rest, "property:") ? takeNumberField(rest) : std::nullopt;
    if (!channel) {
        return std::nullopt;
    }
    reply.channel = *channel;
    return finishProperty(reply, rest);
}

std::optional<LinkEvent> parseStateProperty(QByteArray rest)
{
    PropertyReply reply;
    reply.kind = PropertyKind::State;
    const auto channel = takePrefix(rest, "stateproperty:") ? takeNumberField(rest) : std::nullopt;
    const auto state = channel ? takeNumberField(rest) : std::nullopt;
    if (!state) {
        return std::nullopt;
    }
    reply.channel = *channel;
    reply.stateIndex = *state;
    return finishProperty(reply, rest);
}

std::optional<LinkEvent> parsePageProperty(QByteArray rest)
{
    PropertyReply reply;
    reply.kind = PropertyKind::Page;
    const auto page = takePrefix(rest, "pageproperty:") ? takeField(rest) : std::nullopt;
    if (!page) {
        return std::nullopt;
    }
    reply.page = *page;
    return finishProperty(reply, rest);
}
} // namespace

std::optional<LinkEvent> parseLinkEvent(quint8 code, const QByteArray &body)
{
    switch (code) {
    case LinkCode::kHandshake:
        return parseHandshake(body);
    case LinkCode::kPush:
        return parseButton(true, body);
    case LinkCode::kRelease:
        return parseButton(false, body);
    case LinkCode::kLevelReport:
        return parseLevel(body);
    case LinkCode::kStatusReply:
        return parseStatus(body);
    case LinkCode::kButtonTextReply:
        return parseButtonText(body);
    case LinkCode::kPropertyReply:
        return parseProperty(body);
    case LinkCode::kStatePropertyReply:
        return parseStateProperty(body);
    case LinkCode::kPagePropertyReply:
        return parsePageProperty(body);
    case LinkCode::kInformationRequest:
        return InformationRequest();
    case LinkCode::kTextCommand:
        return TextCommand{ body };
    case LinkCode::kController:
        return ControllerMessage{ body };
    default:
        return OtherFrame{ { code, body, true } };
    }
}
