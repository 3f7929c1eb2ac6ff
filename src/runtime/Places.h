#pragma once
#include "events/Events.h"

#include <QByteArray>
#include <QStringList>

#include <vector>

class QDataStream;

/// Where the statements and globals of a program stand in its source. The compiler writes them behind the object file's
/// end mark, where a loader that does not know them has stopped: docs/formats/object-file.md. Values only: may be read
/// from any thread.
struct Places
{
    /// What statements stand in; the numbers are the file's.
    enum class Kind : quint8 {
        Start,
        Mainline,
        Function,
        Routine,
        Push,
        Release,
        Hold,
        Online,
        Offline,
        String,
        Command,
        Error,
        Level,
        Timeline,
    };
    static constexpr int kKinds = 14;
    static Kind kindOf(EventType type); // of the body that takes such an event

    struct Body // a function, a handler's part …
    {
        Kind kind = Kind::Start;
        QString name; // of the function, or what the handler listens to: "dvPanel 5"
        int file = 0;
        int line = 0;
        std::vector<int> lines{}; // of its statements, in the order of the object file
    };
    struct Global
    {
        int file = 0;
        int line = 0;   // 0: it stands nowhere, the compiler made it
        QString name{}; // as it is written where it is declared
    };

    QStringList files; // as seen from the program's folder, the program's own first
    std::vector<Body> bodies;
    std::vector<Global> globals; // in the order of the object file

    bool isEmpty() const { return bodies.empty() && globals.empty(); }
    /// "room.src:42" for a statement by its number; empty for one that is not known.
    QString lineOf(int statement) const;
    /// "push of dvPanel 5" in the operator's language; empty likewise.
    QString bodyOf(int statement) const;
    const Body *findBody(int statement) const;               // nullptr: not known
    static QString bodyText(Kind kind, const QString &name); // "push of dvPanel 5" likewise
    bool isCalled(int statement) const;                      // stands in a function or routine

    /// The block that belongs behind the given object file.
    QByteArray behind(const QByteArray &objectFile) const;
    /// Reads what stands behind the object file that was just loaded from a stream on a random-access device. Empty
    /// when there is nothing, or what is there is damaged or belongs to another program.
    static Places read(QDataStream &objectFile);

private:
    struct Found
    {
        const Body *body = nullptr;
        size_t index = 0; // of the statement, in the body
    };
    Found find(int statement) const;
};
