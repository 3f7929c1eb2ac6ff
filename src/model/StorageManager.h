#pragma once
#include "base/KeptFile.h"

#include <QMap>

class BasicType;
class ProgramContext;

/// Keeps NON_VOLATILE and PERSISTENT variables, and the program's named parameters, on disk.
/// The maps are read once and kept in memory. A change is on the disk, whole, when flush() returns: before anything
/// that the program does after it can be seen from outside, at the end of its handler, and kMostUnsavedMs after it
/// when the handler goes on changing values. So one write, which waits for the disk, serves many changes, and whatever
/// happens to the process or the power, nothing is lost that anybody could have known.
/// A file that cannot be written is told, keeps its old content, and is tried again at the next change and by itself.
/// What is damaged is told and set aside, and what can be read of it kept.
/// Owns: nothing outside itself. Thread: the main thread. Ends: with the program object.
class StorageManager
{
public:
    static constexpr int kMostUnsavedMs = 100;

    /// \param program  whose values are kept, and who hears what is wrong with them; may be null
    explicit StorageManager(const QString &directory, ProgramContext *program = nullptr);
    ~StorageManager();
    StorageManager(const StorageManager &) = delete;
    StorageManager &operator=(const StorageManager &) = delete;

    void saveVariable(const BasicType &value); // other storage classes and nameless values: nothing
    void restoreVariable(BasicType &value);    // without an entry of its kind the value keeps what it holds

    void saveParameter(const QString &name, const BasicType &value);
    void loadParameter(const QString &name, BasicType &value); // keeps the value's own name and flags
    void deleteAllParameters();

    void flush()
    {
        if (m_hasChanges) {
            writeChanges();
        }
    }

    void reloadVariables(); // a new object file has come: forget all but PERSISTENT variables

private:
    using Records = QMap<QString, QByteArray>; // by upper-cased variable name, or by parameter name
    struct Form
    {
        bool (*decode)(const QByteArray &bytes, Records &records); // false: damaged; what could be read is there
        QByteArray (*encode)(const Records &records);
    };
    struct Store
    {
        KeptFile file;
        const Form &form;
        Records records;
        bool isRead = false;
        bool isChanged = false; // and not on the disk
    };
    static const Form kVariables;
    static const Form kParameters;

    Store *storeFor(int storageClass);
    static void read(Store &store);
    void reportOtherKind(const QString &name);
    void change(Store &store, const QString &name, const QByteArray &record);
    void clear(Store &store);
    void noteChanged(Store &store);
    static void write(Store &store);
    void writeChanges();

    Store m_nonVolatile;
    Store m_persistent;
    Store m_parameters;
    ProgramContext *const m_program;
    bool m_hasChanges = false; // that nobody has tried to write yet
    qint64 m_changedMs = 0;    // when it became true
    const int m_retryTicket;
};
