#pragma once
#include <QHostAddress>

inline const QHostAddress kHere(QStringLiteral("127.0.0.1"));
