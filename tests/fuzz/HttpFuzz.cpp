#include "web/FileController.h"
#include "web/HttpConversation.h"

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdlib>

namespace {
const QByteArray kSecret = "this stands outside of the web directory";

/// A few pages, and beside their directory a file that must never be seen.
struct Site
{
    QTemporaryDir directory;
    HttpSettings settings;
    FileController pages{ directory.filePath(QStringLiteral("web")), 0 };

    Site()
    {
        settings.maxRequestSize = 2000;
        settings.maxMultiPartSize = 3000;
        QDir(directory.path()).mkpath(QStringLiteral("web/a"));
        put("secret", kSecret);
        put("web/index.html", "<html>index</html>");
        put("web/a/b", QByteArray(300, 'b'));
        QFile::link(directory.filePath(QStringLiteral("secret")), directory.filePath(QStringLiteral("web/out")));
    }
    void put(const char *name, const QByteArray &content) const
    {
        QFile file(directory.filePath(QLatin1String(name)));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            std::abort();
        }
    }
};

/// Takes all that is to be sent, files too.
QByteArray taken(HttpOutput &output)
{
    QByteArray all(output.bytes().data(), output.bytes().size());
    output.bytes().consume(output.bytes().size());
    if (output.hasFile()) {
        QByteArray piece(static_cast<int>(output.fileBytes()), '?');
        if (::pread(output.file(), piece.data(), static_cast<size_t>(piece.size()), output.fileOffset()) < 0) {
            std::abort();
        }
        output.consumeFile(piece.size());
        all += piece;
    }
    return all;
}

/// What the whole stream is answered with, sent in pieces of a size; without what may differ.
QByteArray answersTo(Site &site, const QByteArray &stream, int piece)
{
    HttpConversation conversation(site.settings, site.pages, 0);
    QByteArray answers;
    for (int start = 0; start < stream.size() && !conversation.isOver(); start += piece) {
        conversation.receive(stream.constData() + start, std::min(piece, stream.size() - start), 0);
        while (!conversation.output().isEmpty()) {
            answers += taken(conversation.output());
            conversation.sent(0);
        }
    }
    for (int date = answers.indexOf("Date: "); date >= 0; date = answers.indexOf("Date: ", date)) {
        answers.remove(date, answers.indexOf('\n', date) - date);
    }
    return answers.replace("HTTP/1.1 100 Continue\r\n\r\n", ""); // said only when the body comes later
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static Site &site = *[] {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
        auto *const made = new Site; // its directory goes with the process
        std::atexit([] { site.directory.remove(); });
        return made;
    }();
    const QByteArray stream(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QByteArray whole = answersTo(site, stream, std::max(stream.size(), 1));
    if (whole.contains(kSecret) || whole != answersTo(site, stream, 1 + static_cast<int>(size % 7))) {
        std::abort();
    }
    return 0;
}
