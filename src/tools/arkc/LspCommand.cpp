#include "tools/arkc/Command.h"
#include "tools/arkc/lsp/LanguageServer.h"
#include "tools/arkc/lsp/MessageStream.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace arkc {
namespace {
/// Whether bytes are here; waits for them if so wanted.
bool hasInput(int timeoutMs)
{
    pollfd input{ STDIN_FILENO, POLLIN, 0 };
    int ready = 0;
    do {
        ready = poll(&input, 1, timeoutMs);
    } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

/// Up to the editor's "exit", or to the end of its stream.
Outcome serve()
{
    bool isHeard = true;
    LanguageServer server([&isHeard](const Json &message) {
        const std::string json = message.dump();
        isHeard = isHeard && print("Content-Length: " + QByteArray::number(qulonglong(json.size())) + "\r\n\r\n" +
                                   QByteArray::fromStdString(json));
    });
    MessageStream stream;
    std::array<char, 65536> bytes{};
    while (isHeard && !server.hasEnded()) {
        if (!hasInput(0)) {
            server.settle();
            hasInput(-1);
        }
        const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
        if (count <= 0) {
            break;
        }
        stream.feed(QByteArray(bytes.data(), static_cast<int>(count)));
        for (auto message = stream.next(); message && !server.hasEnded(); message = stream.next()) {
            server.take(*message);
        }
    }
    return server.wasShutDown() ? Outcome::Done : Outcome::Failed;
}
} // namespace

Command lspCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("lsp", "Serve an editor: problems, names, completion, layout");
    word->explain(
        { "Speaks the Language Server Protocol on standard input and output; an editor starts it. Problems are "
          "those of arkc check. A source that another one beside it includes is read as a part of that program; "
          "the initialization option \"program\", or the setting arkivon.program, names the program "
          "where there is a choice.",
          { { "arkc lsp", "as an editor starts it (editors/README.md)" } },
          {},
          { { "0", "the editor has ended it" },
            { "1", "the editor vanished without a word" },
            { "2", "called wrongly" } } });
    return { word, serve };
}
} // namespace arkc
