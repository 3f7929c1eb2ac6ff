#pragma once
#include "base/PanelProperties.h"
#include "model/StructType.h"

#include <QStringList>
#include <QVariant>
#include <QVector>

namespace Parts {
inline QString text(const char *part)
{
    return QString::fromUtf8(part);
}
inline QString text(const QByteArray &part)
{
    return QString::fromLatin1(part.constData(), part.size()); // also what stands behind a NUL
}
inline QString text(const QString &part)
{
    return part;
}
inline QString text(const QVariant &part)
{
    return part.toString();
}
inline QString text(const DeviceAddress &part)
{
    return part.text();
}
template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>>>
QString text(Number part)
{
    return QString::number(static_cast<qint64>(part));
}
template <class Number>
QString text(const QVector<Number> &part)
{
    QStringList texts;
    for (const Number number : part) {
        texts << text(number);
    }
    return texts.join(QLatin1Char(','));
}
} // namespace Parts

/// A call or an event as one line that a test can compare: its parts between blanks, lists with commas.
template <class... Part>
QString spoken(const Part &...parts)
{
    return QStringList{ Parts::text(parts)... }.join(QLatin1Char(' '));
}

/// A question to a panel, with the fields that its kind has.
inline QString spoken(int device, const PanelQuestion &question)
{
    switch (question.kind) {
    case PanelQuestion::Kind::Status:
        return spoken("status?", device, question.channel);
    case PanelQuestion::Kind::Text:
        return spoken("text?", device, question.channel, question.state);
    case PanelQuestion::Kind::ButtonProperty:
        return spoken("button?", device, question.channel, question.name);
    case PanelQuestion::Kind::StateProperty:
        return spoken("state?", device, question.channel, question.state, question.name);
    case PanelQuestion::Kind::PageProperty:
        return spoken("page?", device, question.page, question.name);
    }
    Q_UNREACHABLE();
}
