#pragma once
#include <QByteArray>

#include <optional>

namespace arkc {
/// Cuts an editor's byte stream into messages: "Content-Length: N", an empty line, N bytes. Knows no file and no JSON.
class MessageStream
{
public:
    void feed(const QByteArray &bytes) { m_bytes += bytes; }
    /// The next whole message; nullopt: it is not here yet. Null: bytes stood there that are none; what follows is read
    /// from the next length on.
    std::optional<QByteArray> next();

private:
    QByteArray m_bytes;
};
} // namespace arkc
