#pragma once
#include <QString>
#include <QThreadPool>

#include <optional>

/// Unpacks web archives into the web folder. The files of an archive take the place of those of the same names, all at
/// once, and the others stay; an archive that is refused or damaged changes nothing. What came of it is told in the log
/// and in a monitor line that begins with the name the tool gave the archive.
/// Owns: the thread it works on. Thread: unpack() on any. Ends: with its owner, who waits for
/// what was begun.
class WebUnpacker
{
public:
    /// Completes or undoes what a process that ended meanwhile had begun.
    explicit WebUnpacker(const QString &webFolder);
    ~WebUnpacker() { m_pool.waitForDone(); }
    WebUnpacker(const WebUnpacker &) = delete;
    WebUnpacker &operator=(const WebUnpacker &) = delete;

    void unpack(const QString &archive, const QString &name); // later; one after the other

    /// At once, on the calling thread. What went wrong, if anything.
    std::optional<QString> unpackNow(const QString &archive, int &files);

private:
    const QString m_folder;
    QThreadPool m_pool; // of one thread
};
