#include "runtime/Places.h"

#include "base/Messages.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDataStream>
#include <QIODevice>

#include <algorithm>

namespace {
constexpr quint32 kMagic = 0x504C4143;
constexpr quint16 kVersion = 1;
constexpr int kDigestSize = 32;
constexpr int kMostBytes = 64 * 1024 * 1024;

/// Writes numbers in as few bytes as they need, seven bits in each, the lowest first; the top bit: more follow.
class Packer
{
public:
    QByteArray bytes;

    void add(qint64 number) // near 0 is short, on both sides
    {
        auto rest = (static_cast<quint64>(number) << 1) ^ static_cast<quint64>(number >> 63);
        for (; rest > 0x7F; rest >>= 7) {
            bytes += static_cast<char>(0x80 | (rest & 0x7F));
        }
        bytes += static_cast<char>(rest);
    }
    void add(const QString &text)
    {
        const QByteArray encoded = text.toUtf8();
        add(static_cast<qint64>(encoded.size()));
        bytes += encoded;
    }
    void addCount(size_t count) { add(static_cast<qint64>(count)); }
};

/// Reads them. Whatever stands in the bytes: after a fault everything is 0 and isGood() says so.
class Unpacker
{
public:
    explicit Unpacker(const QByteArray &bytes)
        : m_bytes(bytes)
    {}

    bool isGood() const { return m_isGood; }
    bool atEnd() const { return m_at == m_bytes.size(); }

    int number()
    {
        quint64 value = 0;
        for (int shift = 0; shift < 63; shift += 7) {
            if (atEnd()) {
                break;
            }
            const auto byte = static_cast<quint8>(m_bytes[m_at++]);
            value |= quint64(byte & 0x7F) << shift;
            if (byte < 0x80) {
                const auto signedValue = static_cast<qint64>(value >> 1) ^ -static_cast<qint64>(value & 1);
                m_isGood = m_isGood && signedValue == static_cast<int>(signedValue);
                return m_isGood ? static_cast<int>(signedValue) : 0;
            }
        }
        m_isGood = false;
        return 0;
    }
    /// Of items that take a byte at least.
    int count()
    {
        const int value = number();
        m_isGood = m_isGood && value >= 0 && value <= m_bytes.size() - m_at;
        return m_isGood ? value : 0;
    }
    QString text()
    {
        const int size = count();
        m_at += size;
        return QString::fromUtf8(m_bytes.constData() + m_at - size, size);
    }
    int below(int bound)
    {
        const int value = number();
        m_isGood = m_isGood && value >= 0 && value < bound;
        return m_isGood ? value : 0;
    }

private:
    const QByteArray &m_bytes;
    int m_at = 0;
    bool m_isGood = true;
};

QByteArray digestOf(const QByteArray &objectFile, const QByteArray &places)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(objectFile);
    hash.addData(places);
    return hash.result();
}

QByteArray packed(const Places &places)
{
    Packer packer;
    packer.addCount(static_cast<size_t>(places.files.size()));
    for (const QString &file : places.files) {
        packer.add(file);
    }
    packer.addCount(places.bodies.size());
    for (const Places::Body &body : places.bodies) {
        packer.add(static_cast<int>(body.kind));
        packer.add(body.name);
        packer.add(body.file);
        packer.add(body.line);
        packer.addCount(body.lines.size());
        int before = body.line;
        for (const int line : body.lines) {
            packer.add(line - before);
            before = line;
        }
    }
    packer.addCount(places.globals.size());
    for (const Places::Global &global : places.globals) {
        packer.add(global.file);
        packer.add(global.line);
        packer.add(global.name);
    }
    return packer.bytes;
}

Places unpacked(const QByteArray &bytes)
{
    Unpacker unpacker(bytes);
    Places places;
    for (int left = unpacker.count(); left > 0 && unpacker.isGood(); --left) {
        places.files += unpacker.text();
    }
    const int files = static_cast<int>(places.files.size());
    for (int left = unpacker.count(); left > 0 && unpacker.isGood(); --left) {
        Places::Body body;
        body.kind = static_cast<Places::Kind>(unpacker.below(Places::kKinds));
        body.name = unpacker.text();
        body.file = unpacker.below(files);
        body.line = unpacker.number();
        qint64 line = body.line;
        for (int statements = unpacker.count(); statements > 0 && unpacker.isGood(); --statements) {
            line += unpacker.number();
            body.lines.push_back(static_cast<int>(line));
        }
        places.bodies.push_back(std::move(body));
    }
    for (int left = unpacker.count(); left > 0 && unpacker.isGood(); --left) {
        const int file = unpacker.below(files);
        const int line = unpacker.number();
        places.globals.push_back({ file, line, unpacker.text() });
    }
    return unpacker.isGood() && unpacker.atEnd() ? places : Places();
}

const char *textOf(Places::Kind kind)
{
    static constexpr const char *kTexts[Places::kKinds] = {
        QT_TRANSLATE_NOOP("messages", "start"),         QT_TRANSLATE_NOOP("messages", "mainline"),
        QT_TRANSLATE_NOOP("messages", "function %1"),   QT_TRANSLATE_NOOP("messages", "routine %1"),
        QT_TRANSLATE_NOOP("messages", "push of %1"),    QT_TRANSLATE_NOOP("messages", "release of %1"),
        QT_TRANSLATE_NOOP("messages", "hold of %1"),    QT_TRANSLATE_NOOP("messages", "online of %1"),
        QT_TRANSLATE_NOOP("messages", "offline of %1"), QT_TRANSLATE_NOOP("messages", "string of %1"),
        QT_TRANSLATE_NOOP("messages", "command of %1"), QT_TRANSLATE_NOOP("messages", "onerror of %1"),
        QT_TRANSLATE_NOOP("messages", "level of %1"),   QT_TRANSLATE_NOOP("messages", "timeline %1"),
    };
    return kTexts[static_cast<size_t>(kind)];
}
} // namespace

Places::Kind Places::kindOf(EventType type)
{
    switch (type) {
    case EventType::Online:
        return Kind::Online;
    case EventType::String:
        return Kind::String;
    case EventType::Push:
        return Kind::Push;
    case EventType::Release:
        return Kind::Release;
    case EventType::Hold:
        return Kind::Hold;
    case EventType::Level:
        return Kind::Level;
    case EventType::Offline:
        return Kind::Offline;
    case EventType::Error:
        return Kind::Error;
    case EventType::Timeline:
        return Kind::Timeline;
    case EventType::Command:
        break;
    }
    return Kind::Command;
}

Places::Found Places::find(int statement) const
{
    int left = statement - 1;
    for (const Body &body : bodies) {
        const int count = static_cast<int>(body.lines.size());
        if (left >= 0 && left < count) {
            return { &body, static_cast<size_t>(left) };
        }
        left -= count;
    }
    return {};
}

const Places::Body *Places::findBody(int statement) const
{
    return find(statement).body;
}

bool Places::isCalled(int statement) const
{
    const Body *const body = findBody(statement);
    return body && (body->kind == Kind::Function || body->kind == Kind::Routine);
}

QString Places::lineOf(int statement) const
{
    const auto [body, index] = find(statement);
    return body ? files.at(body->file) + QLatin1Char(':') + QString::number(body->lines[index]) : QString();
}

QString Places::bodyOf(int statement) const
{
    const Body *const body = findBody(statement);
    return body ? bodyText(body->kind, body->name) : QString();
}

QString Places::bodyText(Kind kind, const QString &name)
{
    return translated(textOf(kind)).replace(QLatin1String("%1"), name);
}

QByteArray Places::behind(const QByteArray &objectFile) const
{
    const QByteArray content = packed(*this);
    QByteArray block;
    QDataStream stream(&block, QIODevice::WriteOnly);
    const QByteArray digest = digestOf(objectFile, content);
    stream << kMagic << kVersion;
    stream.writeRawData(digest.constData(), digest.size());
    return block + content;
}

Places Places::read(QDataStream &objectFile)
{
    QIODevice &device = *objectFile.device();
    const qint64 end = device.pos();
    if (end > kMostBytes || device.size() - end > kMostBytes) {
        return {};
    }
    quint32 magic = 0;
    quint16 version = 0;
    QByteArray digest(kDigestSize, '\0');
    objectFile >> magic >> version;
    if (magic != kMagic || version != kVersion ||
        objectFile.readRawData(digest.data(), digest.size()) != digest.size()) {
        return {};
    }
    const QByteArray content = device.readAll();
    const bool isOurs = device.seek(0) && digestOf(device.read(end), content) == digest;
    return isOurs ? unpacked(content) : Places();
}
