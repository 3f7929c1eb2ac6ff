#pragma once
#include <QFile>
#include <QString>

#include <optional>
#include <vector>

/// A ZIP archive from somebody else: everything is checked before anything is written. Files are stored or deflated;
/// archives above 4 GiB, of several parts or with a password are refused.
/// Owns: the open file. Thread: one. Ends: with its owner. Source: docs/formats/file-transfer.md, "Web archive".
class ZipArchive
{
public:
    static constexpr int kMaxEntries = 10000;
    static constexpr qint64 kMaxUnpackedBytes = 512LL * 1024 * 1024;

    struct Entry
    {
        QString path; // relative, "/" between its parts, none of them ".."
        bool isDirectory = false;
        quint16 method = 0;
        quint32 checksum = 0;
        qint64 packedSize = 0;
        qint64 size = 0;
        qint64 offset = 0; // of the local header
    };

    explicit ZipArchive(const QString &path)
        : m_file(path)
    {}

    const std::vector<Entry> &entries() const { return m_entries; }
    qint64 unpackedBytes() const { return m_unpackedBytes; }

    /// Reads the list of entries. What is wrong with one of them, if anything: then nothing of it is to be used.
    std::optional<QString> open();

    /// Writes all entries below an empty folder. What went wrong, if anything; the folder is then of no use.
    std::optional<QString> unpack(const QString &folder);

private:
    std::optional<QString> readEntries(const QByteArray &directory, int count);
    std::optional<QString> addEntry(Entry entry, quint16 flags, quint32 attributes, bool isOfUnix);
    std::optional<QString> unpackFile(const Entry &entry, const QString &path);
    bool seekToData(const Entry &entry);

    QFile m_file;
    qint64 m_directoryStart = 0; // the entries' data is in front of it
    std::vector<Entry> m_entries;
    qint64 m_unpackedBytes = 0;
};
