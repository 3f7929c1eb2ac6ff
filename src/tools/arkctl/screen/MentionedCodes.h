#pragma once
#include "net/client/LinkMessage.h"

/// The buttons and levels that a message of the controller is about, in its order; only numbers that can be one.
/// A group given as a range counts whole up to 100 buttons, a wider one only with the button that changed.
struct MentionedCodes
{
    QVector<int> channels;
    QVector<int> levels;
};

MentionedCodes codesMentionedIn(const LinkMessage &message);
