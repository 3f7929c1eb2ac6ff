#pragma once
#include <QByteArray>

/// Frames as they travel.
inline const QByteArray kIdentify = QByteArray::fromHex("56510000000219011aac");
inline const QByteArray kBeat = QByteArray::fromHex("5651000000011515ac");
inline const QByteArray kBeatAnswer = QByteArray::fromHex("5651000000011616ac");
inline const QByteArray kAck7 = QByteArray::fromHex("565100000005210000000728ac");
