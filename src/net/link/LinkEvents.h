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

struct StatusReply
{
    int device = 0;
    int channel = 0;
    int status = 0;
};

struct ButtonTextReply
{
    int channel = 0;
    int stateIndex = 0;
    QByteArray text;
};

struct PropertyReply
{
    PropertyKind kind = PropertyKind::Button; // Button, State or Page
    int channel = 0;                          // not of a page
    int stateIndex = 0;                       // of a state only
    QByteArray page;                          // of a page only
    QByteArray name;
    QVariant value; // QByteArray for a text property, else qint64
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

using LinkEvent = std::variant<PeerIntroduced, ButtonReport, LevelReport, StatusReply, ButtonTextReply, PropertyReply,
                               InformationRequest, TextCommand, ControllerMessage, OtherFrame>;

/// Reads the body of a frame, without its message id where the code has one. Nothing when the body is malformed:
/// fields missing, a negative number where none may be, an unknown property.
/// A handshake's formerNumber is left at -1.
std::optional<LinkEvent> parseLinkEvent(quint8 code, const QByteArray &body);
