#include "net/link/PanelMessages.h"
#include "base/Messages.h"
#include "net/link/LinkTable.h"

namespace PanelMessages {
namespace {
constexpr int kMaxPropertyBody = 4076; // panels take a message of 4096 bytes, 20 of them around the body

template <class Number>
QByteArray joinedNumbers(const QVector<Number> &numbers)
{
    QByteArray joined;
    for (const Number number : numbers) {
        if (!joined.isEmpty()) {
            joined += ',';
        }
        joined += QByteArray::number(number);
    }
    return joined;
}

/// Key and value in turn, all joined by ":"; a value that is missing is 0.
template <quint8 code>
Message pairs(const QVector<qint64> &keys, const QVector<qint64> &values)
{
    QByteArray joined;
    for (int index = 0; index < keys.size(); ++index) {
        if (index > 0) {
            joined += ':';
        }
        joined += linkBody<code>(keys.at(index), values.value(index));
    }
    return { code, joined };
}

QByteArray propertyText(PropertyKind kind, const PanelSetting &setting)
{
    return panelPropertyType(kind, setting.name) == PropertyType::Text ? setting.value.toByteArray()
                                                                       : QByteArray::number(setting.value.toLongLong());
}

template <quint8 code, class... Parts>
Message message(const Parts &...parts)
{
    return { code, linkBody<code>(parts...) };
}
} // namespace

Message question(const PanelQuestion &question)
{
    using namespace LinkCode;
    switch (question.kind) {
    case PanelQuestion::Kind::Status:
        return message<kStatusQuery>(question.channel);
    case PanelQuestion::Kind::Text:
        return message<kTextQuery>(question.channel, question.state);
    case PanelQuestion::Kind::ButtonProperty:
        return message<kPropertyQuery>(question.channel, question.name);
    case PanelQuestion::Kind::StateProperty:
        return message<kStatePropertyQuery>(question.channel, question.state, question.name);
    case PanelQuestion::Kind::PageProperty:
        return message<kPagePropertyQuery>(question.page, question.name);
    }
    Q_UNREACHABLE();
}

Message setting(const PanelSetting &setting)
{
    using namespace LinkCode;
    const QByteArray channels = joinedNumbers(setting.channels);
    switch (setting.kind) {
    case PanelSetting::Kind::ButtonProperty:
        return message<kSetProperty>(channels, setting.name, propertyText(PropertyKind::SettableButton, setting));
    case PanelSetting::Kind::StateProperty:
        return message<kSetStateProperty>(channels, setting.name, setting.state,
                                          propertyText(PropertyKind::State, setting));
    case PanelSetting::Kind::PageProperty:
        return message<kSetPageProperty>(setting.page, setting.name, propertyText(PropertyKind::SettablePage, setting));
    case PanelSetting::Kind::ContainerProperty:
        return message<kSetContainerProperty>(channels, setting.name, setting.value.toByteArray());
    case PanelSetting::Kind::ContainerCall:
        return message<kContainerCall>(channels, setting.name, setting.value.toByteArray());
    }
    Q_UNREACHABLE();
}

Message statusRange(int channel, int status, int first, int last)
{
    const QByteArray range = QByteArray::number(first) + '-' + QByteArray::number(last);
    return message<LinkCode::kChannelStatus>(channel, status, range);
}

Message statusList(int channel, int status, const QVector<int> &channels)
{
    return message<LinkCode::kListStatus>(channel, status, joinedNumbers(channels));
}

Message statuses(const QVector<qint64> &channels, const QVector<qint64> &statuses)
{
    return channels.size() == 1 ? message<LinkCode::kChannelStatus>(channels.first(), statuses.value(0), "0-0")
                                : pairs<LinkCode::kChannelStatus>(channels, statuses);
}

Message levels(const QVector<qint64> &codes, const QVector<qint64> &levels)
{
    return pairs<LinkCode::kLevel>(codes, levels);
}

const char *problemOf(const PanelSetting &setting, const Message &message)
{
    if (message.body.size() <= kMaxPropertyBody) {
        return nullptr;
    }
    switch (setting.kind) {
    case PanelSetting::Kind::ButtonProperty:
        return QT_TRANSLATE_NOOP("messages", "Too long message in set_button_property function");
    case PanelSetting::Kind::StateProperty:
        return QT_TRANSLATE_NOOP("messages", "Too long message in set_button_state_property function");
    case PanelSetting::Kind::PageProperty:
        return nullptr;
    case PanelSetting::Kind::ContainerProperty:
        return QT_TRANSLATE_NOOP("messages", "Too long message in set_container_property function");
    case PanelSetting::Kind::ContainerCall:
        return QT_TRANSLATE_NOOP("messages", "Too long message in container_call function");
    }
    Q_UNREACHABLE();
}
} // namespace PanelMessages
