#pragma once
#include "tools/arkctl/screen/LastingLink.h"
#include "tools/arkctl/screen/PanelModel.h"
#include "tools/arkctl/screen/PanelPicture.h"
#include "tools/arkctl/screen/Terminal.h"

/// arkctl panel without an action: a touch panel on the terminal. Ties the model to the terminal and to the connection.
/// Owns: console, terminal, link and timers (Qt children). Thread: the main thread.
/// Ends: with main(), after run(); buttons that are held are released before.
class PanelScreen : public QObject
{
    Q_OBJECT
public:
    PanelScreen(const RunOptions &options, const PanelModel::Setup &setup);
    Outcome run();

private:
    void takeKey(const Key &key);
    void takeMessage(const LinkMessage &message);
    void connected();
    void lost(const QString &why);
    void neverConnected(const ConnectionFault &fault);
    void reportSlide();
    void send(const PanelModel::Actions &actions);
    void showLink();
    void drawSoon();
    void draw();
    void leave(); // once what was sent is confirmed; the second time at once

    const RunOptions m_options;
    PanelModel m_model;
    PanelPicture m_shown;
    Console *m_console = nullptr;   // Qt child
    Terminal *m_terminal = nullptr; // Qt child
    LastingLink *m_link = nullptr;  // Qt child
    QTimer *m_drawing = nullptr;    // Qt child; runs while something has changed that is not drawn yet
    QTimer *m_sliding = nullptr;    // Qt child; runs while it is too early to tell of a dragged level again
    QTimer *m_countdown = nullptr;  // Qt child; runs while there is no connection
    bool m_isLeaving = false;
    std::string m_failure; // to be said when the screen has gone
    std::string m_advice;
};
