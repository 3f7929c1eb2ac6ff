#pragma once
#include "inspect/NearMisses.h"
#include "inspect/ProgramNames.h"

#include <QJsonObject>

class ControlProgram;
struct TraceRecord;

/// The trace of a program as objects of docs/formats/questions.md, with texts in the operator's language.
/// Owns: the names. Thread: the main thread.
class TraceWords
{
public:
    explicit TraceWords(ControlProgram &program);

    /// The events after a record that are through, the oldest first, as many as fit.
    QJsonObject eventsAfter(qint64 id, int mostBytes) const;

    /// Why a push of a button did what it did: sentences.
    QStringList why(int deviceNumber, int channel) const;

private:
    QJsonObject eventObject(const TraceRecord &event) const;
    QJsonObject stepObject(const TraceRecord &step) const;
    QString eventText(const TraceRecord &event) const;
    QString stepText(const TraceRecord &step) const;
    QStringList undone(qint64 id) const; // what others switched again of what an event did
    QString place(const TraceRecord &record) const;
    bool isAwaited(const TraceRecord &level) const; // some handler listens to a level that was sent

    ControlProgram &m_program;
    const ProgramNames m_names;
    const NearMisses m_misses;
};
