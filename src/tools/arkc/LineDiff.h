#pragma once
#include <QString>

namespace arkc {
/// The change from one text to another, line by line, as patch programs read it; empty when there is none.
QString lineDiff(const QString &before, const QString &after, const QString &name);
} // namespace arkc
