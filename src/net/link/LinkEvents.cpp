#include "net/link/LinkEvents.h"
#include "net/link/LinkTable.h"

#include <algorithm>
#include <limits>
#include <string_view>

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

std::optional<int> wholeNumber(const QByteArray &field)
{
    bool converts = false;
    const int value = field.toInt(&converts);
    return converts ? std::optional(value) : std::nullopt;
}

std::optional<LinkEvent> parseHandshake(const QByteArray &body)
{
    const std::vector<QByteArray> fields = linkFields(linkMessage<LinkCode::kHandshake>(), body);
    if (fields.empty()) {
        return std::nullopt;
    }
    const int type = wholeNumber(fields[0]).value_or(-1);
    const int number = wholeNumber(fields[1]).value_or(-1);
    if (type < 0 || number < 0) {
        return std::nullopt;
    }
    return PeerIntroduced{ type, number, -1, fields[2], fields[3] };
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
    return PanelAnswer{ { PanelQuestion::Kind::Status, *channel }, *status, *device };
}

/// A text, or a property of one of these; the last field is the value.
std::optional<LinkEvent> parseAnswer(const LinkMessageRow &row, PanelQuestion::Kind kind,
                                     std::optional<PropertyKind> properties, const QByteArray &body)
{
    const std::vector<QByteArray> fields = linkFields(row, body);
    PanelQuestion question{ kind };
    for (size_t index = 0; index < fields.size(); ++index) {
        const std::string_view name = row.fields.at(index);
        if (name == "page") {
            question.page = fields[index];
        } else if (name == "property") {
            question.name = fields[index];
        } else if (name == "channel" || name == "state") {
            const std::optional<int> number = wholeNumber(fields[index]);
            if (!number) {
                return std::nullopt;
            }
            (name == "channel" ? question.channel : question.state) = *number;
        }
    }
    const auto type = properties ? panelPropertyType(*properties, question.name) : PropertyType::Text;
    if (fields.empty() || !type) {
        return std::nullopt;
    }
    return PanelAnswer{ question, *type == PropertyType::Text
                                      ? QVariant(fields.back())
                                      : QVariant(static_cast<qint64>(fields.back().toLongLong())) };
}
} // namespace

std::optional<LinkEvent> parseLinkEvent(quint8 code, const QByteArray &body)
{
    using Kind = PanelQuestion::Kind;
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
        return parseAnswer(linkMessage<LinkCode::kButtonTextReply>(), Kind::Text, std::nullopt, body);
    case LinkCode::kPropertyReply:
        return parseAnswer(linkMessage<LinkCode::kPropertyReply>(), Kind::ButtonProperty, PropertyKind::Button, body);
    case LinkCode::kStatePropertyReply:
        return parseAnswer(linkMessage<LinkCode::kStatePropertyReply>(), Kind::StateProperty, PropertyKind::State,
                           body);
    case LinkCode::kPagePropertyReply:
        return parseAnswer(linkMessage<LinkCode::kPagePropertyReply>(), Kind::PageProperty, PropertyKind::Page, body);
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
