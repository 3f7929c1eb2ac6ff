#include "model/StorageManager.h"

#include "model/Values.h"

#include <QDataStream>
#include <QFile>
#include <QSaveFile>
#include <QSettings>

namespace {
constexpr int kStreamVersion = 16;
}

StorageManager::StorageManager(const QString &directory, QObject *parent)
    : QObject(parent)
    , m_parameterPath(QStringLiteral("%1/vars_storage.ini").arg(directory))
{
    m_nonVolatile.path = QStringLiteral("%1/nonvolatile").arg(directory);
    m_persistent.path = QStringLiteral("%1/persistent").arg(directory);
}

void StorageManager::saveVariable(const BasicType &value)
{
    Store *store = storeFor(value.storageClass());
    if (!store || value.name().isEmpty()) {
        return;
    }
    const QByteArray record = recordOf(value);
    QByteArray &stored = store->records[value.name().text()];
    if (stored != record) {
        stored = record;
        write(*store);
    }
}

void StorageManager::restoreVariable(BasicType &value)
{
    Store *store = storeFor(value.storageClass());
    if (!store || value.name().isEmpty()) {
        return;
    }
    const QByteArray record = store->records.value(value.name().text());
    if (!record.isEmpty()) {
        readRecord(value, record);
    }
}

void StorageManager::saveParameter(const QString &name, const BasicType &value)
{
    QSettings file(m_parameterPath, QSettings::IniFormat);
    file.setValue(name, recordOf(value));
}

void StorageManager::loadParameter(const QString &name, BasicType &value)
{
    const QByteArray record = QSettings(m_parameterPath, QSettings::IniFormat).value(name).toByteArray();
    if (record.isEmpty()) {
        return;
    }
    const std::unique_ptr<BasicType> read = value.clone();
    readRecord(*read, record);
    assignValue(value, *read);
}

void StorageManager::deleteAllParameters()
{
    QFile::remove(m_parameterPath);
}

void StorageManager::reloadVariables()
{
    QFile::remove(m_nonVolatile.path);
    m_nonVolatile.records.clear();
    deleteAllParameters();
}

StorageManager::Store *StorageManager::storeFor(int storageClass)
{
    Store *store = storageClass == NonVolatile ? &m_nonVolatile : storageClass == Persistent ? &m_persistent : nullptr;
    if (store && !store->isRead) {
        store->isRead = true;
        read(*store);
    }
    return store;
}

void StorageManager::read(Store &store)
{
    QFile file(store.path);
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    QDataStream stream(&file);
    stream.setVersion(kStreamVersion);
    quint32 count = 0;
    stream >> count;
    QMap<QString, QByteArray> records;
    for (quint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        QString name;
        QByteArray record;
        stream >> name >> record;
        records.insert(name, record);
    }
    if (stream.status() == QDataStream::Ok) {
        store.records = records;
    }
}

void StorageManager::write(const Store &store)
{
    QSaveFile file(store.path);
    if (!file.open(QIODevice::WriteOnly)) {
        return;
    }
    QDataStream stream(&file);
    stream.setVersion(kStreamVersion);
    stream << static_cast<quint32>(store.records.size());
    for (auto entry = store.records.end(); entry != store.records.begin();) { // last key first
        --entry;
        stream << entry.key() << entry.value();
    }
    if (stream.status() == QDataStream::Ok) {
        file.commit();
    }
}
