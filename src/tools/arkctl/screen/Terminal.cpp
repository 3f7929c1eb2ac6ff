#include "tools/arkctl/screen/Terminal.h"
#include "tools/arkctl/screen/Canvas.h"
#include "tools/arkctl/screen/ScreenText.h"
#include <QSocketNotifier>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
#undef lines // of term.h: a name that others use
#undef columns

namespace {
constexpr int kEscapeMs = 25; // how long after Escape the rest of a key's bytes may come

struct Look
{
    short foreground = -1; // -1: what the terminal has
    short background = -1;
    attr_t withColours = A_NORMAL;
    attr_t without = A_NORMAL;
};

/// By role. Without colours everything can still be told apart: by reverse, bold and the signs in the text.
Look lookOf(Role role)
{
    switch (role) {
    case Role::Plain:
        return {};
    case Role::Faint:
        return { -1, -1, A_DIM, A_DIM };
    case Role::Heading:
        return { COLOR_WHITE, COLOR_BLUE, A_NORMAL, A_REVERSE };
    case Role::Alarm:
        return { COLOR_WHITE, COLOR_RED, A_NORMAL, A_REVERSE };
    case Role::Lit:
        return { COLOR_BLACK, COLOR_GREEN, A_NORMAL, A_REVERSE };
    case Role::Held:
        return { COLOR_BLACK, COLOR_YELLOW, A_NORMAL, A_REVERSE };
    case Role::Bar:
        return { COLOR_GREEN, -1, A_NORMAL, A_NORMAL };
    case Role::Sent:
        return { COLOR_CYAN, -1, A_NORMAL, A_NORMAL };
    case Role::Command:
        return { COLOR_YELLOW, -1, A_NORMAL, A_NORMAL };
    }
    Q_UNREACHABLE();
}

constexpr short pairOf(Role role)
{
    return static_cast<short>(static_cast<int>(role) + 1); // 0 is the terminal's own
}

bool startColours()
{
    const char *const wish = ::getenv("NO_COLOR"); // the agreed way to ask for none
    if ((wish && *wish) || !::has_colors() || ::start_color() == ERR) {
        return false;
    }
    ::use_default_colors();
    for (int role = 0; role <= static_cast<int>(Role::Command); ++role) {
        const Look look = lookOf(static_cast<Role>(role));
        ::init_pair(pairOf(static_cast<Role>(role)), look.foreground, look.background);
    }
    return true;
}

/// Ctrl-S must not stop the output: while it stood still no heartbeat would go out.
void ignoreFlowControl()
{
    termios settings{};
    if (::tcgetattr(STDIN_FILENO, &settings) == 0) {
        settings.c_iflag &= ~static_cast<tcflag_t>(IXON);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
        ::def_prog_mode();
    }
}

// What begins a report of the mouse comes as these keys; no other has such a code.
constexpr int kMouseNumbers = 0700;
constexpr int kMouseCharacters = 0701;

bool hasMouse()
{
    const char *const reports = ::tigetstr("kmous");
    return reports && reports != reinterpret_cast<char *>(-1);
}

/// Presses, releases, and where it is while it is down; as numbers, which have no end at column 223.
void askForMouse(bool isWanted)
{
    if (hasMouse()) {
        std::fputs(isWanted ? "\x1B[?1000h\x1B[?1002h\x1B[?1006h" : "\x1B[?1006l\x1B[?1002l\x1B[?1000l", stdout);
        std::fflush(stdout);
    }
}

void bindMouse()
{
    constexpr std::pair<const char *, int> kBeginnings[] = { { "\x1B[<", kMouseNumbers },
                                                             { "\x1B[M", kMouseCharacters } };
    for (const auto &[beginning, code] : kBeginnings) {
        if (hasMouse()) {
            ::define_key(beginning, 0); // not the library's own any more
            ::define_key(beginning, code);
        }
    }
}

struct FunctionKey
{
    int code;
    Key::Kind kind;
};

constexpr FunctionKey kFunctionKeys[] = {
    { KEY_UP, Key::Kind::Up },
    { KEY_DOWN, Key::Kind::Down },
    { KEY_LEFT, Key::Kind::Left },
    { KEY_RIGHT, Key::Kind::Right },
    { KEY_PPAGE, Key::Kind::PageUp },
    { KEY_NPAGE, Key::Kind::PageDown },
    { KEY_HOME, Key::Kind::Home },
    { KEY_END, Key::Kind::End },
    { KEY_ENTER, Key::Kind::Enter },
    { KEY_BTAB, Key::Kind::Tab },
    { KEY_BACKSPACE, Key::Kind::Backspace },
};

constexpr FunctionKey kControlKeys[] = {
    { '\n', Key::Kind::Enter },  { '\r', Key::Kind::Enter },     { '\t', Key::Kind::Tab },
    { 0x1B, Key::Kind::Escape }, { '\b', Key::Kind::Backspace }, { 0x7F, Key::Kind::Backspace },
};

template <size_t count>
std::optional<Key::Kind> kindIn(const FunctionKey (&keys)[count], int code)
{
    const auto found = std::find_if(std::begin(keys), std::end(keys), [code](auto &key) { return key.code == code; });
    return found == std::end(keys) ? std::nullopt : std::optional(found->kind);
}

std::optional<Key> keyOf(bool isFunction, wint_t code)
{
    const int number = static_cast<int>(code);
    if (const auto kind = isFunction ? kindIn(kFunctionKeys, number) : kindIn(kControlKeys, number)) {
        return Key{ *kind };
    }
    return isFunction ? std::nullopt : std::optional(Key{ Key::Kind::Character, static_cast<char32_t>(code) });
}
} // namespace

Terminal::Terminal(QObject *parent)
    : QObject(parent)
{}

Terminal::~Terminal()
{
    close();
}

bool Terminal::isThere()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDOUT_FILENO) == 1;
}

int Terminal::columns() const
{
    return m_screen ? ::getmaxx(::stdscr) : 0;
}

int Terminal::rows() const
{
    return m_screen ? ::getmaxy(::stdscr) : 0;
}

bool Terminal::open(std::string &reason)
{
    const char *const type = ::getenv("TERM");
    ScreenText::useUtf8();
    m_screen = ::newterm(nullptr, stdout, stdin);
    if (!m_screen) {
        reason = std::string("this terminal (TERM=") + (type ? type : "") + ") is not known";
        return false;
    }
    if (!::tigetstr("cup") || ::tigetstr("cup") == reinterpret_cast<char *>(-1)) {
        close();
        reason = std::string("this terminal (TERM=") + type + ") can only show one line after the other";
        return false;
    }
    ::set_escdelay(kEscapeMs);
    ::cbreak();
    ::noecho();
    ::nonl();
    ignoreFlowControl();
    ::keypad(::stdscr, true);
    ::nodelay(::stdscr, true);
    ::curs_set(0);
    bindMouse();
    askForMouse(true);
    m_hasColours = startColours();
    listen();
    return true;
}

void Terminal::close()
{
    if (!m_screen) {
        return;
    }
    delete m_keyNotifier;
    delete m_signalNotifier;
    m_keyNotifier = nullptr;
    m_signalNotifier = nullptr;
    m_signals.close();
    askForMouse(false);
    ::endwin();
    ::delscreen(m_screen);
    m_screen = nullptr;
}

void Terminal::show(const Canvas &canvas)
{
    ::werase(::stdscr);
    for (int row = 0; row < canvas.rows(); ++row) {
        showRow(canvas, row);
    }
    ::wrefresh(::stdscr);
}

void Terminal::listen()
{
    sigset_t wishes;
    ::sigemptyset(&wishes);
    ::sigaddset(&wishes, SIGWINCH);
    ::sigaddset(&wishes, SIGTSTP);
    ::sigaddset(&wishes, SIGHUP);
    ::sigprocmask(SIG_BLOCK, &wishes, nullptr);
    m_signals = Descriptor(::signalfd(-1, &wishes, SFD_CLOEXEC | SFD_NONBLOCK));
    m_signalNotifier = new QSocketNotifier(m_signals.get(), QSocketNotifier::Read, this);
    connect(m_signalNotifier, &QSocketNotifier::activated, this, &Terminal::takeSignals);
    m_keyNotifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(m_keyNotifier, &QSocketNotifier::activated, this, &Terminal::readKeys);
}

void Terminal::readKeys()
{
    int waiting = 0;
    if (::ioctl(STDIN_FILENO, FIONREAD, &waiting) != 0 || waiting == 0) { // readable and nothing there: its end
        m_keyNotifier->setEnabled(false);
        Q_EMIT vanished();
        return;
    }
    while (m_screen) {
        wint_t code = 0;
        const int result = ::wget_wch(::stdscr, &code);
        if (result == ERR) {
            return;
        }
        if (const std::optional<Key> key = keyFrom(result == KEY_CODE_YES, code)) {
            Q_EMIT keyPressed(*key);
        }
    }
}

std::optional<Key> Terminal::keyFrom(bool isFunction, wint_t code)
{
    if (isFunction && (code == kMouseNumbers || code == kMouseCharacters)) {
        m_mouse.begin(code == kMouseNumbers ? MouseReport::Form::Numbers : MouseReport::Form::Characters);
        return std::nullopt;
    }
    if (!isFunction && m_mouse.isOpen()) {
        return m_mouse.take(static_cast<char32_t>(code));
    }
    m_mouse.abandon();
    return keyOf(isFunction, code);
}

void Terminal::takeSignals()
{
    signalfd_siginfo taken{};
    while (::read(m_signals.get(), &taken, sizeof taken) == sizeof taken) {
        if (taken.ssi_signo == SIGHUP) {
            Q_EMIT vanished();
            return;
        }
        if (taken.ssi_signo == SIGTSTP) {
            suspend();
        }
    }
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0) {
        ::resizeterm(size.ws_row, size.ws_col);
        ::clearok(::curscr, true);
        Q_EMIT resized();
    }
}

/// Ctrl-Z. The terminal is the shell's until the tool is continued.
void Terminal::suspend()
{
    sigset_t stop;
    ::sigemptyset(&stop);
    ::sigaddset(&stop, SIGTSTP);
    askForMouse(false);
    ::endwin();
    const auto before = std::signal(SIGTSTP, SIG_DFL); // not SIGSTOP: where no shell is, nothing must stop
    ::raise(SIGTSTP);
    ::sigprocmask(SIG_UNBLOCK, &stop, nullptr); // here it stands still
    ::sigprocmask(SIG_BLOCK, &stop, nullptr);
    std::signal(SIGTSTP, before);
    askForMouse(true);
}

void Terminal::showRow(const Canvas &canvas, int row)
{
    const std::vector<Canvas::Cell> &cells = canvas.row(row);
    for (size_t first = 0, end = 0; first < cells.size(); first = end) {
        QString text;
        for (end = first; end < cells.size() && cells.at(end).style == cells.at(first).style; ++end) {
            text += cells.at(end).text;
        }
        const Style style = cells.at(first).style;
        const Look look = lookOf(style.role);
        const attr_t strong = style.isStrong ? A_BOLD : A_NORMAL;
        ::wattr_set(::stdscr, strong | (m_hasColours ? look.withColours : look.without),
                    m_hasColours ? pairOf(style.role) : short(0), nullptr);
        ::mvwaddwstr(::stdscr, row, static_cast<int>(first), text.toStdWString().c_str());
    }
    ::wattr_set(::stdscr, A_NORMAL, 0, nullptr);
}
