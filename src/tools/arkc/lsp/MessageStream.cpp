#include "tools/arkc/lsp/MessageStream.h"

#include <QRegularExpression>

namespace arkc {
namespace {
constexpr int kLongestHead = 64 * 1024;
constexpr int kLongestMessage = 256 * 1024 * 1024;

/// The last length that a head names, wherever it stands: before it may be the rest of a message that said less than it
/// had. -1: none, or one that nobody means.
int lengthIn(const QByteArray &head)
{
    static const QRegularExpression kLength(QStringLiteral("Content-Length:[ \\t]*(\\d{1,10})[ \\t]*(?:\\r\\n|$)"),
                                            QRegularExpression::CaseInsensitiveOption);
    qint64 length = -1;
    for (auto found = kLength.globalMatch(QString::fromLatin1(head)); found.hasNext();) {
        length = found.next().captured(1).toLongLong();
    }
    return length <= kLongestMessage ? static_cast<int>(length) : -1;
}
} // namespace

std::optional<QByteArray> MessageStream::next()
{
    const int end = m_bytes.indexOf("\r\n\r\n");
    if (end < 0 && m_bytes.size() <= kLongestHead) {
        return std::nullopt;
    }
    const int length = end < 0 ? -1 : lengthIn(m_bytes.left(end));
    if (length < 0) {
        m_bytes.remove(0, end < 0 ? m_bytes.size() : end + 4);
        return QByteArray();
    }
    if (m_bytes.size() - end - 4 < length) {
        return std::nullopt;
    }
    const QByteArray message = m_bytes.mid(end + 4, length);
    m_bytes.remove(0, end + 4 + length);
    return length == 0 ? QByteArray() : message;
}
} // namespace arkc
