#pragma once
#include "web/HttpOutput.h"
#include <QHash>
#include <QString>

#include <ctime>
#include <memory>
#include <mutex>

#include <sys/stat.h>

/// What is known of a file of the web directory. Stays right as long as the file has the same identity.
struct WebFile
{
    struct Identity // an upload changes at least one of these
    {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        timespec changed{};
        timespec modified{};
        bool operator==(const Identity &other) const;
    };

    Identity identity;
    QByteArray contentType;
    QByteArray lastModified; // as HTTP writes it
    QByteArray etag;         // tells sizes apart, nothing else
    bool hasContent = false; // a small file's content is kept; the others are read when they are sent
    QByteArray content;

    qint64 size() const { return identity.size; }
    std::time_t modified() const { return identity.modified.tv_sec; }
};

/// The directory that web pages are served from. Nothing outside of it is ever opened for reading, whatever path or
/// link leads there.
/// Owns: what it remembers of the files, in bounded memory. Thread: any. Ends: with its owner.
class WebDirectory
{
public:
    static constexpr int kMaxKeptFile = 64 * 1024;
    static constexpr int kMaxKeptTogether = 8 * 1024 * 1024;

    /// A file that changed so recently might change again without a new time stamp: its content is not kept.
    static constexpr std::time_t kSettledAfterSeconds = 2;

    explicit WebDirectory(const QString &path, std::time_t settledAfterSeconds = kSettledAfterSeconds);

    enum class Access { Open, Missing, Unreadable };
    struct Opened
    {
        Access access = Access::Missing;
        std::shared_ptr<const WebFile> file;          // when it is open
        std::shared_ptr<const Descriptor> descriptor; // to read it from; null when its content is kept
    };

    /// \param name  relative, decoded, from outside: any bytes
    Opened open(const QByteArray &name);
    void make() const; // with its parents, where they are missing

private:
    Opened openKept(const QByteArray &fullPath, const std::shared_ptr<const WebFile> &file) const;
    std::shared_ptr<const WebFile> examine(const QByteArray &name, const Descriptor &opened,
                                           const struct stat &status) const;
    Opened openInside(const QByteArray &name, const QByteArray &fullPath);
    std::shared_ptr<const WebFile> kept(const QByteArray &name) const;
    void keep(const QByteArray &name, const std::shared_ptr<const WebFile> &file);

    const QString m_path;
    const QByteArray m_encodedPath;
    const std::time_t m_settledAfterSeconds;
    mutable std::mutex m_mutex; // guards what follows
    QHash<QByteArray, std::shared_ptr<const WebFile>> m_kept;
    int m_keptBytes = 0;
};
