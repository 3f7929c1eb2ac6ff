#include "model/StorageManager.h"

#include "base/Clock.h"
#include "base/IniText.h"
#include "base/Messages.h"
#include "model/ProgramContext.h"
#include "model/Values.h"

#include <QDataStream>

namespace {
constexpr int kStreamVersion = 16;
} // namespace

const StorageManager::Form StorageManager::kVariables{
    [](const QByteArray &bytes, Records &records) {
        QDataStream stream(bytes);
        stream.setVersion(kStreamVersion);
        quint32 count = 0;
        stream >> count;
        for (quint32 i = 0; i < count; ++i) {
            QString name;
            QByteArray record;
            stream >> name >> record;
            if (stream.status() != QDataStream::Ok) {
                return false;
            }
            records.insert(name, record);
        }
        return stream.status() == QDataStream::Ok && stream.atEnd();
    },
    [](const Records &records) {
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream.setVersion(kStreamVersion);
        stream << static_cast<quint32>(records.size());
        for (auto entry = records.end(); entry != records.begin();) { // last key first
            --entry;
            stream << entry.key() << entry.value();
        }
        return bytes;
    },
};

const StorageManager::Form StorageManager::kParameters{
    [](const QByteArray &bytes, Records &records) {
        const IniText::Content content = IniText::parse(bytes);
        for (auto entry = content.values.begin(); entry != content.values.end(); ++entry) {
            records.insert(entry.key(), entry.value().toByteArray());
        }
        return content.isWhole;
    },
    [](const Records &records) {
        QVariantMap values;
        for (auto entry = records.begin(); entry != records.end(); ++entry) {
            values.insert(entry.key(), entry.value());
        }
        return IniText::write(values);
    },
};

StorageManager::StorageManager(const QString &directory, ProgramContext *program)
    : m_nonVolatile{ KeptFile(directory + QStringLiteral("/nonvolatile")), kVariables, {} }
    , m_persistent{ KeptFile(directory + QStringLiteral("/persistent")), kVariables, {} }
    , m_parameters{ KeptFile(directory + QStringLiteral("/vars_storage.ini")), kParameters, {} }
    , m_program(program)
    , m_retryTicket(Clock::instance().every(KeptFile::kRetryMs, [this] { writeChanges(); }))
{}

StorageManager::~StorageManager()
{
    Clock::instance().cancel(m_retryTicket);
    writeChanges(); // also what could not be written before
}

void StorageManager::saveVariable(const BasicType &value)
{
    Store *store = storeFor(value.storageClass());
    if (store && !value.name().isEmpty()) {
        change(*store, value.name().text(), recordOf(value));
    }
}

void StorageManager::restoreVariable(BasicType &value)
{
    Store *store = storeFor(value.storageClass());
    const QByteArray record =
        store && !value.name().isEmpty() ? store->records.value(value.name().text()) : QByteArray();
    if (!record.isEmpty() && !readRecord(value, record)) {
        reportOtherKind(value.name().text());
    }
}

void StorageManager::saveParameter(const QString &name, const BasicType &value)
{
    const QString key = IniText::key(name);
    if (!key.isEmpty()) {
        read(m_parameters);
        change(m_parameters, key, recordOf(value));
    }
}

void StorageManager::loadParameter(const QString &name, BasicType &value)
{
    read(m_parameters);
    const QByteArray record = m_parameters.records.value(IniText::key(name));
    if (record.isEmpty()) {
        return;
    }
    const std::unique_ptr<BasicType> stored = value.clone();
    if (readRecord(*stored, record)) {
        assignValue(value, *stored);
    } else {
        reportOtherKind(name);
    }
}

void StorageManager::deleteAllParameters()
{
    clear(m_parameters);
}

void StorageManager::reloadVariables()
{
    clear(m_nonVolatile);
    clear(m_parameters);
    flush();
}

StorageManager::Store *StorageManager::storeFor(int storageClass)
{
    Store *store = storageClass == NonVolatile ? &m_nonVolatile : storageClass == Persistent ? &m_persistent : nullptr;
    if (store) {
        read(*store);
    }
    return store;
}

void StorageManager::read(Store &store)
{
    if (std::exchange(store.isRead, true)) {
        return;
    }
    const KeptFile::Content content = store.file.read();
    const bool isWhole = store.form.decode(content.bytes, store.records) && !content.bytes.isEmpty();
    if (content.isThere && !isWhole) {
        store.file.setAside(
            translated(QT_TRANSLATE_NOOP("messages", "%1 values can be read")).arg(store.records.size()));
        write(store);
    }
}

void StorageManager::reportOtherKind(const QString &name)
{
    if (m_program) {
        m_program->reportWarning(
            translated(QT_TRANSLATE_NOOP("messages", "The stored value of %1 is of another kind and is not read"))
                .arg(name));
    }
}

void StorageManager::change(Store &store, const QString &name, const QByteArray &record)
{
    QByteArray &stored = store.records[name];
    if (stored != record) {
        stored = record;
        noteChanged(store);
    }
}

void StorageManager::clear(Store &store)
{
    store.isRead = true;
    store.records.clear();
    noteChanged(store);
}

void StorageManager::noteChanged(Store &store)
{
    const qint64 nowMs = Clock::instance().monotonicMs();
    store.isChanged = true;
    if (!std::exchange(m_hasChanges, true)) {
        m_changedMs = nowMs;
    } else if (nowMs - m_changedMs >= kMostUnsavedMs) {
        writeChanges();
    }
}

void StorageManager::write(Store &store)
{
    store.isChanged =
        store.records.isEmpty() ? !store.file.remove() : !store.file.save(store.form.encode(store.records));
}

void StorageManager::writeChanges()
{
    m_hasChanges = false;
    for (Store *store : { &m_nonVolatile, &m_persistent, &m_parameters }) {
        if (store->isChanged) {
            write(*store);
        }
    }
}
