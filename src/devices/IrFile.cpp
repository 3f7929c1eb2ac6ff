#include "devices/IrFile.h"

#include <QDataStream>
#include <QFile>

namespace {
using namespace IrFile;

constexpr qint32 kVersion = 1;
const QString kMagic = QStringLiteral("IR");

bool readHeader(QDataStream &stream, QStringList &headers)
{
    QString magic;
    qint32 version = 0;
    stream >> magic >> version;
    if (magic != kMagic || version != kVersion) {
        return false;
    }
    for (int i = 0; i < kHeaderTexts; ++i) {
        QString header;
        stream >> header;
        headers << header;
    }
    return stream.status() == QDataStream::Ok;
}

Record readRecord(QDataStream &stream)
{
    Record record;
    stream >> record.name >> record.codeNumber;
    for (qint32 &number : record.unusedNumbers) {
        stream >> number;
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
    QStringList headers;
    if (!readHeader(stream, headers)) {
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

std::optional<IrFile::Contents> IrFile::read(const QByteArray &file)
{
    QDataStream stream(file);
    stream.setVersion(QDataStream::Qt_5_4);
    Contents contents;
    qint32 count = 0;
    if (!readHeader(stream, contents.headers)) {
        return std::nullopt;
    }
    stream >> count;
    for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        contents.records.push_back(readRecord(stream));
    }
    return stream.status() == QDataStream::Ok ? std::optional(contents) : std::nullopt;
}

QByteArray IrFile::written(const Contents &contents)
{
    QByteArray file;
    QDataStream stream(&file, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_4);
    stream << kMagic << kVersion;
    for (int i = 0; i < kHeaderTexts; ++i) {
        stream << contents.headers.value(i);
    }
    stream << static_cast<qint32>(contents.records.size());
    for (const Record &record : contents.records) {
        stream << record.name << record.codeNumber;
        for (const qint32 number : record.unusedNumbers) {
            stream << number;
        }
        stream << record.code;
    }
    return file;
}
