#pragma once
#include "base/Descriptor.h"
#include <QString>

#include <optional>

/// The folder in which this controller keeps everything: its alone while the process runs, and its user's alone to
/// read. Owns: the lock, which the kernel takes back however the process ends. Thread: one. Ends: with the process.
class DataFolder
{
public:
    explicit DataFolder(const QString &path)
        : m_path(path)
    {}

    QString path() const { return m_path; }

    /// Makes the folder where it is missing and the modes what they are to be, and takes away what killed writers left.
    /// Why this process must not use it, if so: another one does. A folder that cannot be written is no reason.
    std::optional<QString> take();
    std::optional<QString> whyNotWritable() const; // that values are not kept, and why

private:
    bool lock(qint64 &holder);
    void mendModes() const;

    const QString m_path;
    Descriptor m_lock;
};
