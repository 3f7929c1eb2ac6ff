#pragma once
#include "tools/arkctl/screen/PanelModel.h"

struct PanelPicture;

/// What a person did at the terminal.
struct Key
{
    enum class Kind {
        Character, // see character
        Enter,
        Up,
        Down,
        Left,
        Right,
        PageUp,
        PageDown,
        Home,
        End,
        Tab,
        Escape,
        Backspace,
        MouseDown, // these five: at row and column
        MouseMove, // while it is down
        MouseUp,
        WheelUp,
        WheelDown,
        Other,
    };
    Kind kind = Kind::Other;
    char32_t character = 0;
    int row = 0;
    int column = 0;
};

struct KeyEffect
{
    PanelModel::Actions actions; // what the controller is to be told
    bool ends = false;           // the person wants to leave
};

/// Does what a key means.
/// \param shown  the picture that the person saw
KeyEffect takeKey(const Key &key, QTime now, const PanelPicture &shown, PanelModel &model);
