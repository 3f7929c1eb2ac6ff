#pragma once
#include "compiler/Compiler.h"

#include <map>

namespace arkc {
/// A source that an editor holds open; its text takes the place of the file's.
struct OpenSource
{
    QString uri;  // as the editor writes it
    QString text; // lines end with a line feed
};

/// A program of which a source is open, as it was read last.
struct OpenProgram
{
    QString root;      // the key of the source that includes the others
    QStringList files; // the keys of the files, in the order of the sources
    IndexedSource source;
    bool isStale = true;
};

/// How a file is called in all its spellings.
QString fileKey(const QString &path);

/// The sources that an editor holds open, and the programs that they belong to. A source that others include is read
/// as a part of the program that it belongs to: one that is open, the one that is set, or one beside it.
/// Owns: what it has read. Thread: the main thread.
class OpenPrograms
{
public:
    const std::map<QString, OpenSource> &sources() const { return m_sources; } // by key
    const std::map<QString, OpenProgram> &programs() const { return m_programs; }
    const OpenProgram *programWith(const QString &key) const;
    std::optional<QString> editedText(const QString &path) const;

    OpenSource &open(const QString &key, const OpenSource &source);
    void close(const QString &key);
    void changed(const QString &key); // the text of an open source
    void fileChanged();               // of those that are not open, any may be another now
    void setMainProgram(const QString &path);

    /// Reads what has changed. False: nothing had.
    bool update();

private:
    void read(OpenProgram &program);
    QString rootOf(const QString &key) const;
    QStringList includesOf(const QString &key) const;

    std::map<QString, OpenSource> m_sources;
    std::map<QString, OpenProgram> m_programs; // by root
    QString m_mainProgram;
};
} // namespace arkc
