#pragma once
#include "net/client/LinkMessage.h"
#include "tools/arkctl/PanelActions.h"
#include <QString>
#include <QTime>

#include <deque>

/// What a panel has heard and said, newest last; old lines make room.
class PanelLog
{
public:
    enum class Source { Controller, Program, Panel, Link }; // Program: its commands, which people want to see
    struct Line
    {
        QTime when;
        Source source = Source::Link;
        QString text; // printable
    };

    const std::deque<Line> &lines() const { return m_lines; }
    quint64 forgotten() const { return m_forgotten; } // lines that were there before the first of them

    void addMessage(QTime when, const LinkMessage &message);
    void addAction(QTime when, const PanelAction &action);
    void addNote(QTime when, const QString &text);

private:
    void add(QTime when, Source source, const QString &text);

    std::deque<Line> m_lines;
    quint64 m_forgotten = 0;
};
