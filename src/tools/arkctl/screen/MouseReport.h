#pragma once
#include "tools/arkctl/screen/PanelKeys.h"

#include <string>

/// Reads what terminals tell of the mouse, behind the characters that begin it. The curses library would do that too,
/// but loses presses and releases when many come at once, as they do from a mouse that is dragged.
class MouseReport
{
public:
    enum class Form {
        Numbers,    // behind ESC [ <: "0;20;18M" is a press in column 20 of row 18, "m" at the end a release
        Characters, // behind ESC [ M: three of them, 32 more than their numbers; of terminals that know no other
    };

    bool isOpen() const { return m_isOpen; }

    void begin(Form form);
    void abandon() { m_isOpen = false; }

    /// The next character. What is no report ends it without a key, as does one of other buttons.
    std::optional<Key> take(char32_t character);

private:
    std::optional<Key> takeNumbers(char32_t character);
    std::optional<Key> takeCharacter(char32_t character);

    Form m_form = Form::Numbers;
    bool m_isOpen = false;
    std::u32string m_taken;
};
