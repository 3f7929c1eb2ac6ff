#pragma once
#include "base/Descriptor.h"
#include "tools/arkctl/screen/MouseReport.h"
#include <QObject>

#include <cwchar>
#include <string>

class Canvas;
class QSocketNotifier;
struct screen; // of ncurses

/// The terminal that the tool was started on: shows canvases, tells keys and mouse. A thin layer over ncurses, served
/// by the event loop. Without colours where NO_COLOR is set or the terminal has none. Owns: the screen of ncurses, a
/// signal descriptor for SIGWINCH, SIGTSTP and SIGHUP, the notifiers of both (Qt children). Thread: the main thread;
/// one at a time. Ends: close() or its destructor gives the terminal back as it was.
class Terminal : public QObject
{
    Q_OBJECT
public:
    explicit Terminal(QObject *parent = nullptr);
    ~Terminal() override;

    static bool isThere(); // standard input and output are a terminal

    int columns() const;
    int rows() const;

    /// False, with the reason, when this terminal cannot show a screen.
    bool open(std::string &reason);
    void close();
    void show(const Canvas &canvas);

Q_SIGNALS:
    void keyPressed(const Key &key);
    void resized();
    void vanished(); // nobody is there any more

private:
    void listen();
    void readKeys();
    std::optional<Key> keyFrom(bool isFunction, wint_t code);
    void takeSignals();
    void suspend();
    void showRow(const Canvas &canvas, int row);

    screen *m_screen = nullptr;
    MouseReport m_mouse;
    Descriptor m_signals;
    QSocketNotifier *m_keyNotifier = nullptr;    // Qt child
    QSocketNotifier *m_signalNotifier = nullptr; // Qt child
    bool m_hasColours = false;
};
