#pragma once
#include "base/FileReplacement.h"
#include <QString>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

/// The files that tools may send or fetch, in the order of the controller's own use of them.
enum class TransferKind { Object, Source, UserInterface, WebArchive, IrCodes };

struct TransferPaths
{
    QString object; // the one in use
    QString source;
    QString userInterface;
    QString webArchive;
    QString irPattern; // with %1 for the number, 1 to 8
};

enum class TransferVia { Link, Console };

/// A file that a tool wants to send: where it goes and what the tool calls it.
struct TransferTarget
{
    TransferKind kind;
    QString path;
    QString name; // the tool's, for messages to it
    TransferVia via = TransferVia::Link;
};

class TransferFiles;

/// The new content of one file on its way in, which takes its place when commit() is called, and at no other time. The
/// target is reserved meanwhile.
/// Owns: the temporary file, which goes with it. Thread: one. Ends: with its owner, before the TransferFiles.
class IncomingFile
{
public:
    ~IncomingFile();
    IncomingFile(const IncomingFile &) = delete;
    IncomingFile &operator=(const IncomingFile &) = delete;

    QFile &file() { return m_content->file(); }
    const TransferTarget &target() const { return m_target; }

    /// Lets the disk begin with what has come, so that commit() waits for the rest only.
    void noteReceived(qint64 bytes);

    /// Writes all of it to the disk and puts it in place. What went wrong, if anything: the old content is there then.
    std::optional<QString> commit();

private:
    friend class TransferFiles;
    IncomingFile(TransferFiles &files, const TransferTarget &target);
    std::optional<QString> open(qint64 size);

    TransferFiles &m_files;
    const TransferTarget m_target;
    std::optional<FileReplacement> m_content;
    qint64 m_handedToDisk = 0; // bytes from the beginning
};

/// Which files there are, who is writing one, and what happens with one that has come.
/// Owns: nothing on the disk. Thread: any. Ends: after all that use it.
class TransferFiles
{
public:
    static constexpr int kIrFiles = 8;

    using Arrived = std::function<void(const TransferTarget &target)>;

    /// \param arrived  a file is in place; called on the thread that committed it
    TransferFiles(const TransferPaths &paths, Arrived arrived);

    /// By the suffix of the name, in any case; a path in front of the name has no meaning. Nothing: no file of ours.
    std::optional<TransferTarget> target(const QString &name, int irNumber) const;
    QString downloadPath(int kind, int irNumber) const; // empty: no such file

    /// Null, and why, when the target is being written already, the disk has no room or the file cannot be made.
    std::unique_ptr<IncomingFile> open(const TransferTarget &target, qint64 size, QString &problem);
    void announce(const TransferTarget &target) const { m_arrived(target); }

private:
    friend class IncomingFile;
    QString irPath(int number) const; // empty: no such number
    void release(const QString &path);

    const TransferPaths m_paths;
    const Arrived m_arrived;
    std::mutex m_mutex;
    std::set<QString> m_reserved; // paths that are being written
};
