#pragma once
#include <QRegularExpression>
#include <QString>

/// Six pairs of hexadecimal digits in either case, separated by ":", and nothing else.
inline bool isMacAddress(const QString &text)
{
    static const QRegularExpression pattern(QStringLiteral("\\A[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}\\z"));
    return pattern.match(text).hasMatch();
}
