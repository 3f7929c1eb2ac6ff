#include "devices/RemoteText.h"

#include <QRegularExpression>
#include <QString>

std::optional<RemoteText::Setup> RemoteText::parseSetup(const QByteArray &text)
{
    static const QRegularExpression form(QStringLiteral("^(\\d+):(\\d+):(\\d+):(\\d+):(\\d+)$"));
    const QRegularExpressionMatch match = form.match(QString::fromUtf8(text));
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    const auto number = [&match](int field) { return match.capturedRef(field).toInt(); };
    return Setup{ { number(1), number(2), number(3) }, number(4), static_cast<PortAction>(number(5)) };
}

std::optional<RemoteText::Addressed> RemoteText::parseAddressed(const QByteArray &text)
{
    const int first = text.indexOf(':');
    const int second = first < 0 ? -1 : text.indexOf(':', first + 1);
    const int third = second < 0 ? -1 : text.indexOf(':', second + 1);
    if (third < 0) {
        return std::nullopt;
    }
    const auto number = [&text](int from, int to) { return text.mid(from, to - from).toInt(); };
    return Addressed{ { number(0, first), number(first + 1, second), number(second + 1, third) }, text.mid(third + 1) };
}
