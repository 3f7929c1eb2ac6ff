#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

class QUrl;

// How a WebSocket connection begins; docs/formats/websocket.md. Pure functions: bytes in, bytes out.

namespace WebSocketHandshake {
constexpr int kMostBytes = 16 * 1024; // of a request or an answer; a longer one is refused

/// Where a request or an answer ends: the bytes up to and with the empty line; -1: not yet.
int endOf(const QByteArray &bytes);

/// The 16 random bytes of a request, in base 64, and what the server makes of them.
QByteArray freshKey();
QByteArray acceptOf(const QByteArray &key);

QByteArray request(const QUrl &url, const QByteArray &key);

/// Whether an answer accepts the request with this key.
bool isAccepted(const QByteArray &answer, const QByteArray &key);

/// A server, as far as its answers go.
struct Server
{
    QString name{}; // for the header "Server"; may be empty
    /// Besides pages of its own host and clients that are no browsers: pages with these origins, such as
    /// "https://panels.example:8443", or of these hosts. "*": all pages.
    QStringList origins{};
};

struct Answer
{
    bool isAccepted = false;
    QByteArray bytes{};         // to send in either case
    QByteArray strangeOrigin{}; // why it is not accepted; empty: for another reason
};
Answer answerTo(const QByteArray &request, const Server &server);
} // namespace WebSocketHandshake
