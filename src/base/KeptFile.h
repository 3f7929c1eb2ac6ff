#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

/// A file in which the controller keeps something, read and replaced whole. What goes wrong is told in the log and in a
/// monitor line of errors, once as long as it stays the same, and never costs what the file holds.
/// Owns: nothing on the disk. Thread: one at a time.
class KeptFile
{
public:
    static constexpr int kRetryMs = 30000; // until what could not be saved is on the disk, its owner tries again

    explicit KeptFile(const QString &path)
        : m_path(path)
    {}

    QString path() const { return m_path; }
    const std::optional<QString> &problem() const { return m_problem; } // why the last save() failed
    QString complaint() const;                                          // the same with the file

    struct Content
    {
        QByteArray bytes;
        bool isThere = false; // and can be read
        std::optional<QString> problem;
    };
    Content load() const;
    Content read() const; // one that cannot be read is set aside

    /// Keeps a damaged file under another name too, and tells so. Save then what could be read of it.
    /// \param what  is wrong with it
    void setAside(const QString &what) const;

    /// \name True: it is so on the disk
    bool save(const QByteArray &content); // makes the folder when it is missing
    bool remove();

    bool settle(const std::optional<QString> &problem); // tells it when it is new; what was the matter before is over

private:
    QString m_path;
    std::optional<QString> m_problem;
};
