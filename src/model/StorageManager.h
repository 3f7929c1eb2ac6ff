#pragma once
#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>

class BasicType;

/// Keeps NON_VOLATILE and PERSISTENT variables, and the program's named parameters, on disk.
/// The maps are read once and kept in memory; every change that alters a record is in the file, whole, when the call
/// returns. A store that cannot be read counts as empty, one that cannot be written keeps its old content.
/// Owns: nothing outside itself. Thread: the main thread. Ends: with the program object.
class StorageManager : public QObject
{
    Q_OBJECT
public:
    explicit StorageManager(const QString &directory, QObject *parent = nullptr);

    void saveVariable(const BasicType &value); // other storage classes and nameless values: nothing
    void restoreVariable(BasicType &value);    // without an entry the value keeps what it holds

    void saveParameter(const QString &name, const BasicType &value);
    void loadParameter(const QString &name, BasicType &value); // keeps the value's own name and flags
    void deleteAllParameters();

public Q_SLOTS:
    void reloadVariables(); // a new object file has come: forget all but PERSISTENT variables

private:
    struct Store
    {
        QString path;
        QMap<QString, QByteArray> records; // by upper-cased variable name
        bool isRead = false;
    };
    Store *storeFor(int storageClass);
    static void read(Store &store);
    static void write(const Store &store);

    Store m_nonVolatile;
    Store m_persistent;
    QString m_parameterPath;
};
