#include "net/sockets/websocket/WebSocketHandshake.h"

#include <QCryptographicHash>
#include <QList>
#include <QRandomGenerator>
#include <QUrl>

#include <algorithm>
#include <array>

namespace {
constexpr char kEnd[] = "\r\n\r\n";
constexpr char kKeySuffix[] = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
constexpr int kKeyBytes = 16;

/// The head of a request or an answer: its first line and its headers.
class Head
{
public:
    explicit Head(const QByteArray &bytes)
        : m_lines(bytes.left(WebSocketHandshake::endOf(bytes)).split('\n'))
    {}

    QList<QByteArray> firstLine() const { return m_lines.value(0).simplified().split(' '); }

    /// The value of a header; of one that comes several times all of them, separated by commas.
    QByteArray value(const char *name) const
    {
        QByteArray found;
        for (const QByteArray &line : m_lines.mid(1)) {
            const int colon = line.indexOf(':');
            if (colon > 0 && line.left(colon).trimmed().toLower() == name) {
                found += (found.isEmpty() ? "" : ",") + line.mid(colon + 1).trimmed();
            }
        }
        return found;
    }

    bool lists(const char *name, const char *word) const // one of the words between commas
    {
        const QList<QByteArray> words = value(name).toLower().split(',');
        return std::any_of(words.begin(), words.end(),
                           [word](const QByteArray &each) { return each.trimmed() == word; });
    }

private:
    const QList<QByteArray> m_lines;
};

bool isWebSocketUpgrade(const Head &head)
{
    return head.lists("upgrade", "websocket") && head.lists("connection", "upgrade");
}

QByteArray hostOf(const QUrl &url)
{
    const QByteArray host = url.host(QUrl::FullyEncoded).toLatin1();
    const QByteArray bracketed = host.contains(':') ? '[' + host + ']' : host;
    return url.port() > 0 ? bracketed + ':' + QByteArray::number(url.port()) : bracketed;
}

/// Any page that anybody opens in a browser may try: the browser says where the page is from.
bool mayUse(const QByteArray &origin, const QByteArray &host, const QStringList &allowed)
{
    const QString page = QUrl(QString::fromLatin1(origin)).host();
    const bool isOwn = !page.isEmpty() && page == QUrl(QStringLiteral("ws://") + QString::fromLatin1(host)).host();
    return origin.isEmpty() || isOwn || std::any_of(allowed.begin(), allowed.end(), [&](const QString &each) {
               const QString entry = each.trimmed();
               return entry == QLatin1String("*") || entry.compare(QLatin1String(origin), Qt::CaseInsensitive) == 0 ||
                      (!page.isEmpty() && entry.compare(page, Qt::CaseInsensitive) == 0);
           });
}

QByteArray credentialsOf(const QUrl &url)
{
    if (url.userName().isEmpty()) {
        return QByteArray();
    }
    const QString pair = url.userName(QUrl::FullyDecoded) + QLatin1Char(':') + url.password(QUrl::FullyDecoded);
    return "Authorization: Basic " + pair.toUtf8().toBase64() + "\r\n";
}
} // namespace

int WebSocketHandshake::endOf(const QByteArray &bytes)
{
    const int end = bytes.indexOf(kEnd);
    return end < 0 ? -1 : end + int(sizeof kEnd) - 1;
}

QByteArray WebSocketHandshake::freshKey()
{
    std::array<quint32, kKeyBytes / sizeof(quint32)> random{};
    QRandomGenerator::system()->fillRange(random.data(), static_cast<int>(random.size()));
    return QByteArray(reinterpret_cast<const char *>(random.data()), kKeyBytes).toBase64();
}

QByteArray WebSocketHandshake::acceptOf(const QByteArray &key)
{
    return QCryptographicHash::hash(key + kKeySuffix, QCryptographicHash::Sha1).toBase64();
}

QByteArray WebSocketHandshake::request(const QUrl &url, const QByteArray &key)
{
    QByteArray target = url.path(QUrl::FullyEncoded).toLatin1();
    if (!target.startsWith('/')) {
        target.prepend('/');
    }
    if (url.hasQuery()) {
        target += '?' + url.query(QUrl::FullyEncoded).toLatin1();
    }
    return "GET " + target + " HTTP/1.1\r\nHost: " + hostOf(url) +
           "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: " + key +
           "\r\nSec-WebSocket-Version: 13\r\n" + credentialsOf(url) + "\r\n";
}

bool WebSocketHandshake::isAccepted(const QByteArray &answer, const QByteArray &key)
{
    const Head head(answer);
    const QList<QByteArray> status = head.firstLine();
    return status.value(0).startsWith("HTTP/1.1") && status.value(1) == "101" && isWebSocketUpgrade(head) &&
           head.value("sec-websocket-accept") == acceptOf(key);
}

WebSocketHandshake::Answer WebSocketHandshake::answerTo(const QByteArray &request, const Server &owner)
{
    const Head head(request);
    const QList<QByteArray> line = head.firstLine();
    const QByteArray key = head.value("sec-websocket-key");
    if (line.size() != 3 || line.at(0) != "GET" || line.at(2) != "HTTP/1.1" || !isWebSocketUpgrade(head) ||
        QByteArray::fromBase64(key).size() != kKeyBytes) {
        return { false, "HTTP/1.1 400 Bad Request\r\nConnection: close\r\nContent-Length: 0\r\n\r\n" };
    }
    if (const QByteArray origin = head.value("origin"); !mayUse(origin, head.value("host"), owner.origins)) {
        return { false, "HTTP/1.1 403 Forbidden\r\nConnection: close\r\nContent-Length: 0\r\n\r\n", origin };
    }
    if (!head.lists("sec-websocket-version", "13")) {
        return { false, "HTTP/1.1 426 Upgrade Required\r\nSec-WebSocket-Version: 13\r\nConnection: close\r\n"
                        "Content-Length: 0\r\n\r\n" };
    }
    const QByteArray name = owner.name.simplified().toUtf8(); // on one line, whatever it holds
    const QByteArray server = name.isEmpty() ? QByteArray() : "Server: " + name + "\r\n";
    return { true, "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n" + server +
                       "Sec-WebSocket-Accept: " + acceptOf(key) + "\r\n\r\n" };
}
