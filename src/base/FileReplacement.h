#pragma once
#include <QFile>
#include <QString>

#include <optional>

/// New content for a file: written to a temporary file beside it, which takes its place in commit(), and at no other
/// time. Whatever fails, and whenever the process or the power ends, the old file or the new one is there, whole; after
/// a commit() that went well it is the new one. Every file that the controller keeps is written through here. A link is
/// followed. A new file is for its owner alone, whatever the umask; one that was there keeps its mode. Owns: the
/// temporary file, which goes with it. Thread: one. One writer at a time for a file.
class FileReplacement
{
public:
    explicit FileReplacement(const QString &path);
    ~FileReplacement();
    FileReplacement(const FileReplacement &) = delete;
    FileReplacement &operator=(const FileReplacement &) = delete;

    QString place() const { return m_place; } // where the file really is
    QFile &file() { return m_file; }          // open for reading and writing after open()

    /// \name What went wrong, if anything
    std::optional<QString> open();
    std::optional<QString> commit();

    /// All of it at once.
    static std::optional<QString> write(const QString &path, const QByteArray &content);

    /// Takes away a file for good. One that is not there is no fault.
    static std::optional<QString> remove(const QString &path);

    /// \name The temporary files of processes that were killed. Only where nobody writes now.
    static void removeLeftoverOf(const QString &path);
    static void removeLeftovers(const QString &directory);

private:
    const QString m_place;
    const QByteArray m_temporary;
    QFile m_file;
};
