#pragma once
#include "compiler/Messages.h"

#include <QFileDevice>
#include <QStringList>

#include <map>
#include <set>
#include <utility>
#include <vector>

/// A place in the text of a program: the file and the offset in it, in UTF-16 units.
struct SourcePosition
{
    int file = 0;
    int offset = 0;
};

/// The files of a program and what there is to say about them.
class Sources
{
public:
    struct File
    {
        QString name; // as it stands in diagnostics
        QString text;
        std::vector<int> lineStarts; // offsets; the first is 0
    };

    int add(const QString &name, const QString &text); // line ends of any kind; the file's index
    QStringList names() const;
    const File &file(int index) const { return m_files[static_cast<size_t>(index)]; }

    /// Dropped are a remark that repeats another at the same place, what a mistake leads to on its own line, a warning
    /// on a line that ends with "// arkc: ok", and everything after kMostErrors errors.
    void report(Fault code, SourcePosition position, const QString &message);
    /// With the table's text.
    void report(Fault code, SourcePosition position, const QStringList &arguments);
    /// Told once for a name; its other uses are counted.
    void reportName(Fault code, SourcePosition position, const QString &name, const QString &message);
    bool hasErrors() const { return m_errors > 0; }
    bool hasBadLine(SourcePosition from, SourcePosition to) const; // one with an error of its form
    int errors() const { return m_found; }                         // so far, also those that are not shown
    void hideUnknownNames() { m_isIncomplete = true; }             // a part of the program could not be read

    int lineOf(SourcePosition position) const;
    int indentOf(SourcePosition position) const;               // the column, from 0; a tab goes to the next fourth
    SourcePosition firstOfLine(SourcePosition position) const; // the first character that is no blank, or the position

    /// All remarks, in the order of files and places. Leaves none behind.
    std::vector<Diagnostic> takeDiagnostics();

    /// "12" for the line of a position; with the file's name when that is not the file of nearTo: "a.src:12".
    QString lineReference(SourcePosition position, SourcePosition nearTo) const;

private:
    static constexpr int kMostErrors = 200;
    struct Remark
    {
        SourcePosition position;
        Diagnostic diagnostic;
        int moreUses = 0; // of an unknown name
    };
    bool isSilenced(Fault code, SourcePosition position, int line);

    std::vector<File> m_files;
    std::vector<Remark> m_remarks;
    std::set<std::pair<std::pair<int, int>, QString>> m_known;
    std::set<std::pair<int, int>> m_badLines;                   // files and lines with an error of their form
    std::map<std::pair<Fault, QString>, size_t> m_unknownNames; // the remark on each
    int m_errors = 0;                                           // shown
    int m_found = 0;
    bool m_isIncomplete = false;
};

/// Reads a source file. On failure text is null and problem says why; an offset into bad bytes is told as a line.
struct ReadSource
{
    QString text;
    QString problem;
    int line = 0; // of the problem; 0: the file as a whole
};
ReadSource readSource(const QString &path);

/// Bytes of a source as text: UTF-8, with or without a byte order mark, no NUL.
ReadSource decodeSource(const QByteArray &bytes);

/// All bytes of an open file, or why there are none. What is larger than any program is refused, so that a wrong name
/// costs no memory.
struct ReadBytes
{
    QByteArray bytes;
    QString problem; // null: there is none
};
ReadBytes readBytes(QFileDevice &file);
