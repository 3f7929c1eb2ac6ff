#include "devices/IrFile.h"

#include <QDataStream>
#include <QFile>

namespace {
constexpr int kVersion = 1;
constexpr int kHeaderTexts = 5;
constexpr int kUnusedNumbers = 6;

struct Record
{
    int codeNumber = 0;
    QByteArray code;
};

bool readHeader(QDataStream &stream)
{
    QString magic;
    qint32 version = 0;
    stream >> magic >> version;
    if (magic != QLatin1String("IR") || version != kVersion) {
        return false;
    }
    for (int i = 0; i < kHeaderTexts; ++i) {
        QString unused;
        stream >> unused;
    }
    return stream.status() == QDataStream::Ok;
}

Record readRecord(QDataStream &stream)
{
    Record record;
    QString name;
    stream >> name >> record.codeNumber;
    for (int i = 0; i < kUnusedNumbers; ++i) {
        qint32 unused = 0;
        stream >> unused;
    }
    stream >> record.code;
    return record;
}
} // namespace

IrFile::Lookup IrFile::find(const QString &path, int codeNumber)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        return { Outcome::CannotOpen, {} };
    }
    QDataStream stream(&file);
    stream.setVersion(QDataStream::Qt_5_4);
    qint32 count = 0;
    if (!readHeader(stream)) {
        return {};
    }
    stream >> count;
    for (int i = 0; i < count; ++i) {
        const Record record = readRecord(stream);
        if (stream.status() != QDataStream::Ok) {
            return {};
        }
        if (record.codeNumber == codeNumber) {
            return { Outcome::Found, record.code };
        }
    }
    return {};
}
