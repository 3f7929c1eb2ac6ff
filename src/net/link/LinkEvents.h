#pragma once
#include "base/Frame.h"
#include "base/PanelProperties.h"
#include <QByteArray>
#include <QVariant>

#include <optional>
#include <variant>

/// What a peer has told us: one type for each kind of message that concerns more than the connection itself.

struct PeerIntroduced // a handshake
{
    int type = 0;
    int deviceNumber = 0;
    int formerNumber = -1; // what this connection called itself before; -1: nothing yet
    QByteArray name;
    QByteArray version;
};

struct ButtonReport
{
    bool isPressed = false;
    int device = 0;
    int channel = 0;
    int level = 0;
};

struct LevelReport
{
    int device = 0;
    int channel = 0;
    int level = 0; // the level's code
    int value = 0;
};

struct PanelAnswer
{
    PanelQuestion question;
    QVariant value;  // of a status an int, of a text a QByteArray, of a property as its type says
    int device = -1; // that a status names; -1: the panel itself
};

struct InformationRequest
{};

struct TextCommand // of a management tool
{
    QByteArray text;
};

struct ControllerMessage
{
    QByteArray body;
};

struct OtherFrame // of a code that the session does not know; its checksum is right, except of file transfers
{
    Frame frame;
};

using LinkEvent = std::variant<PeerIntroduced, ButtonReport, LevelReport, PanelAnswer, InformationRequest, TextCommand,
                               ControllerMessage, OtherFrame>;

/// Reads the body of a frame, without its message id where the code has one. Nothing when the body is malformed:
/// fields missing, a negative number where none may be, an unknown property.
/// A handshake's formerNumber is left at -1.
std::optional<LinkEvent> parseLinkEvent(quint8 code, const QByteArray &body);
