#pragma once
#include "tools/arkctl/Rendering.h"
#include <QByteArray>
#include <QStringList>

#include <optional>
#include <string>

/// What a controller says of itself: the body of a frame 11.
struct ControllerInfo
{
    bool isDhcp = false;
    QString ip;
    QString netmask;
    QString gateway;
    QString nameServer;
    int systemNumber = 0;
    QString version;
    QString model;
    QString mac;
};

/// Nothing when it is something else.
std::optional<ControllerInfo> parseControllerInfo(const QByteArray &text);

/// In several lines for people, or one JSON object; an address that is not empty comes first.
std::string shownInfo(Rendering::Form form, const ControllerInfo &info, const QString &address = {});
