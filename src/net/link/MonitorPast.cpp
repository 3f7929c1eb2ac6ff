#include "net/link/MonitorPast.h"
#include "base/Overloaded.h"
#include <QDataStream>

namespace MonitorPast {
namespace {
const QByteArray kKeyword = QByteArrayLiteral("monitorhistory:");
constexpr int kPageBytes = 32 * 1024;
constexpr int kMostBytesPerCharacter = 3; // of UTF-8, for one of UTF-16
constexpr int kBytesBesideText = 13;

std::optional<Reply> parseSeam(QDataStream &stream)
{
    Seam seam;
    stream >> seam.nowMs >> seam.lostUntilMs;
    return stream.status() == QDataStream::Ok && stream.atEnd() ? std::optional<Reply>(seam) : std::nullopt;
}

std::optional<Reply> parseLines(QDataStream &stream)
{
    Lines lines;
    while (!stream.atEnd()) {
        MonitorHistory::Line line;
        QByteArray text;
        stream >> line.wallMs >> line.type >> text;
        if (stream.status() != QDataStream::Ok) {
            return std::nullopt;
        }
        line.text = QString::fromUtf8(text);
        lines.push_back(line);
    }
    return lines;
}
} // namespace

QByteArray encode(const Reply &reply)
{
    QByteArray text = kKeyword;
    QDataStream stream(&text, QIODevice::Append);
    const auto put = [&stream](char kind) { stream << static_cast<quint8>(kind); };
    const Overloaded writers{
        [&](const NotKept &) { put('n'); },
        [&](const Seam &seam) {
            put('s');
            stream << seam.nowMs << seam.lostUntilMs;
        },
        [&](const Lines &lines) {
            put('l');
            for (const MonitorHistory::Line &line : lines) {
                stream << line.wallMs << line.type << line.text.toUtf8();
            }
        },
        [&](const End &) { put('e'); },
    };
    std::visit(writers, reply);
    return text;
}

std::optional<Reply> parse(const QByteArray &text)
{
    if (!text.startsWith(kKeyword) || text.size() == kKeyword.size()) {
        return std::nullopt;
    }
    const QByteArray body = text.mid(kKeyword.size() + 1);
    QDataStream stream(body);
    switch (text.at(kKeyword.size())) {
    case 'n':
        return body.isEmpty() ? std::optional<Reply>(NotKept()) : std::nullopt;
    case 's':
        return parseSeam(stream);
    case 'l':
        return parseLines(stream);
    case 'e':
        return body.isEmpty() ? std::optional<Reply>(End()) : std::nullopt;
    default:
        return std::nullopt;
    }
}

std::vector<Lines> pages(const Lines &lines)
{
    std::vector<Lines> all;
    int bytes = kPageBytes;
    for (const MonitorHistory::Line &line : lines) {
        const int more = line.text.size() * kMostBytesPerCharacter + kBytesBesideText;
        if (bytes + more > kPageBytes) {
            all.emplace_back();
            bytes = 0;
        }
        bytes += more;
        all.back().push_back(line);
    }
    return all;
}
} // namespace MonitorPast
