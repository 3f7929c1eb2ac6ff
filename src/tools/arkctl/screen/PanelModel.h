#pragma once
#include "tools/arkctl/PanelActions.h"
#include "tools/arkctl/PanelState.h"
#include "tools/arkctl/screen/CodeList.h"
#include "tools/arkctl/screen/LogPosition.h"
#include "tools/arkctl/screen/PanelLog.h"

#include <optional>
#include <set>
#include <vector>

/// Everything that the panel on the terminal knows: buttons and levels with their states, what is held, what is
/// selected, the log. Knows no terminal and no connection: commands give back what the controller is to be told, and
/// have it in the log already.
class PanelModel
{
public:
    struct Setup
    {
        int device = 0;
        QString controller; // its address
        std::vector<int> buttons;
        std::vector<int> levels;
        LevelRange range;
    };
    enum class Focus { Buttons, Levels };
    using Actions = std::vector<PanelAction>;

    explicit PanelModel(Setup setup);

    const Setup &setup() const { return m_setup; } // the codes in order; those that the controller mentions are added
    const PanelState &state() const { return m_state; }
    const PanelLog &log() const { return m_log; }
    bool isConnected() const { return m_isConnected; }
    const QString &linkText() const { return m_linkText; }
    const QString &notice() const { return m_notice; } // what was wrong with the last key; empty when nothing was
    const QString &typedNumber() const { return m_typed; }
    bool showsHelp() const { return m_helpFrom.has_value(); }
    int helpFrom() const { return m_helpFrom.value_or(0); } // its first line, where it needs several pages
    bool showsLogOnly() const { return m_showsLogOnly; }
    int logShift() const { return m_logShift; } // so many columns of its lines are not shown
    LogPosition::Window logWindow(int rows) const { return m_logPosition.window(m_log, rows); }
    Focus focus() const { return m_focus; }

    int selectedButton() const { return m_selectedButton; } // its place in setup().buttons
    int selectedLevel() const { return m_selectedLevel; }
    bool isLit(int channel) const { return m_state.status(channel) != 0; }
    bool isHeld(int channel) const { return m_held.count(channel) > 0 || m_finger == channel; }
    bool isUsable(int channel) const; // neither disabled nor hidden by the program
    QString label(int channel) const; // printable; that of the state it is in
    bool hasValue(int level) const { return isSliding(level) || m_state.level(level).has_value(); }
    int value(int level) const;        // the lowest while nobody has said it; what is dragged has that of the mouse
    LevelRange range(int level) const; // wide enough for its value

    /// \name The connection.
    void setLink(bool isConnected, const QString &text); // text: for the first line
    void connected(QTime now);                           // what was lit is forgotten, the controller says it anew
    void lost(QTime now, const QString &why);            // what was held is not any more
    void take(QTime now, const LinkMessage &message);
    void note(QTime now, const QString &text) { m_log.addNote(now, text); }

    /// \name The person. Without a connection there is nothing to tell, and the notice says so.
    Actions press(QTime now, int channel);      // push and release; one that is held: release
    Actions toggleHold(QTime now, int channel); // push, or release of what is held
    /// Whether the key of toggleHold() comes from a keyboard that repeats it: a relay must not rattle.
    bool isKeyRepeat(QTime now);
    Actions fingerDown(QTime now, int channel); // of the mouse: one button at a time
    Actions fingerUp(QTime now);
    Actions releaseAll(QTime now);
    Actions slideFrom(QTime now, int level, int value); // the mouse takes hold of a level, until fingerUp()
    void slideTo(int value);                            // shown at once; told when reportSlide() is called
    Actions reportSlide(QTime now);                     // the newest value, unless it is told already
    std::optional<int> slidingLevel() const { return m_slide ? std::optional(m_slide->level) : std::nullopt; }
    Actions moveLevel(QTime now, int level, int step);
    Actions setLevel(QTime now, int level, int value);
    void selectButton(int place);
    void selectLevel(int place); // where there are none the buttons stay in focus
    void addButton(int channel);
    void setFocus(Focus focus) { m_focus = focus; }
    void setTypedNumber(const QString &digits) { m_typed = digits; }
    void setNotice(const QString &text) { m_notice = text; }
    void showHelp(int from) { m_helpFrom = from; }
    void closeHelp() { m_helpFrom.reset(); }
    void setShowsLogOnly(bool shows);
    void shiftLog(int columns); // its lines, for the rest of long ones
    void scrollLog(int rows, int lines) { m_logPosition.move(m_log, rows, lines); } // lines < 0: to older ones
    void showOldestLog(int rows) { m_logPosition.toOldest(m_log, rows); }
    void showNewestLog() { m_logPosition.toNewest(); }

private:
    struct Slide
    {
        int level = 0;
        int value = 0;
        LevelRange range; // that of the beginning: the scale must not change under the finger
        bool isTold = false;
    };

    bool isSliding(int level) const { return m_slide && m_slide->level == level; }
    Actions tell(QTime now, const Actions &actions);
    bool canTell();
    void addLevel(int level);

    Setup m_setup;
    PanelState m_state;
    PanelLog m_log;
    std::set<int> m_held;
    std::optional<int> m_finger;      // the button that the mouse holds
    std::optional<Slide> m_slide;     // or the level
    std::optional<QTime> m_holdKeyAt; // when it was struck last
    QString m_linkText;
    QString m_notice;
    QString m_typed;
    Focus m_focus = Focus::Buttons;
    int m_selectedButton = 0;
    int m_selectedLevel = 0;
    bool m_isConnected = false;
    std::optional<int> m_helpFrom;
    LogPosition m_logPosition;
    int m_logShift = 0;
    bool m_showsLogOnly = false;
};
