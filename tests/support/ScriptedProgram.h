#pragma once
#include "base/Clock.h"
#include "runtime/ControlProgram.h"
#include "support/FakeDevices.h"

#include <QJsonObject>
#include <QTemporaryDir>

#include <memory>

/// One compiled program that runs in virtual time, and what happens to it. Several can share a clock.
/// Owns: its stores, and devices that are none.
class Player
{
public:
    enum class Reports { Each, AsOperatorsSee }; // errors and warnings; the second with places, and counted
    Player(QByteArray objectFile, Clock &clock, Reports reports = Reports::Each);

    void happen(const QString &line); // one of the lines below, without their "//! "
    QStringList takeLines() { return std::exchange(m_devices.lines, {}); }
    void stop() { m_program->state().requestStop(); }
    const AST &tree() const { return m_program->tree(); }

private:
    QJsonObject ask(const QJsonObject &question);
    void tellTrace();
    void load();
    void raiseData(const QString &what, const QString &address, const QString &text);

    Clock &m_clock; // driven by hand
    QTemporaryDir m_directory;
    FakeDevices m_devices;
    QByteArray m_objectFile;
    const Reports m_reports;
    std::unique_ptr<ControlProgram> m_program;
    double m_traced = 0; // up to which record the trace has been told
};

/// A program in the source form together with what happens to it and what it must do about it, all in one text:
///
///     //! push 10001 5         what happens: push, release D C; level D L V; string D:P:S text; online, offline D:P:S;
///                              error D:P:S code; tick MS; mainline; state 0|1; absent: panels do not answer;
///                              reload; places, anywhere: compile it with its places;
///                              trace: what has been traced since; why D C; get NAME …; set NAME VALUE; vars FILTER
///     //= on 5001:9:0 1        the lines that must come of it, in order
///
/// Before the first "//!" stand the lines of the load and the start block. Errors and warnings of the program are
/// lines "error: …" and "warning: …"; what it sends to device 1 is a line as it stands.
class ScriptedProgram
{
public:
    /// Compiles and plays it. Returns what differs from the expectation, for a person; empty when nothing does.
    static QString play(const QString &source);
};
