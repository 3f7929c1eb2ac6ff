#pragma once
#include <QtGlobal>

/// How long to wait before the controller is started again. Knows no clock: the times are passed in.
/// An end in order (a restart or reboot) costs no pause, a crash 1 s. Ends that follow quickly on one another double
/// it, up to a minute, also those in order: a program that reboots in its start block must not wear out the machine.
class RestartPauses
{
public:
    enum class End { InOrder, Crash };

    static constexpr qint64 kFirstMs = 1000;
    static constexpr qint64 kLongestMs = 60000;
    static constexpr qint64 kWellMs = 60000;        // who lived that long begins anew
    static constexpr qint64 kShortOrderlyMs = 1000; // an end in order counts as quick only before this

    void started(qint64 nowMs) { m_startedAtMs = nowMs; }
    qint64 pauseMs(End end, qint64 nowMs); // until the next start, from the end at nowMs

private:
    qint64 m_startedAtMs = 0;
    int m_quickEnds = 0; // in a row
};
