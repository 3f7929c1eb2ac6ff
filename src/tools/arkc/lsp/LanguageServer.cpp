#include "tools/arkc/lsp/LanguageServer.h"

#include "compiler/format/Formatter.h"
#include "tools/arkc/lsp/Ranges.h"

#include <QDir>
#include <QUrl>

#include <algorithm>

namespace arkc {
namespace {
QString withLineFeeds(QString text)
{
    return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

/// Of a file; of what is none, such as a text that was never saved, its URI.
QString keyOf(const QString &uri)
{
    const QUrl url(uri);
    return url.isLocalFile() ? fileKey(url.toLocalFile()) : uri;
}

QString documentUri(const Json &parameters)
{
    return textOf(member(member(parameters, "textDocument"), "uri"));
}

bool hasMethod(const char *method, const QString &wanted)
{
    return wanted == QLatin1String(method);
}
} // namespace

constexpr LanguageServer::Request LanguageServer::kRequests[] = {
    { "initialize", &LanguageServer::initialize, nullptr },
    { "shutdown", &LanguageServer::shutdown, nullptr },
    { "textDocument/formatting", &LanguageServer::format, nullptr },
    { "textDocument/definition", nullptr, definition },
    { "textDocument/references", nullptr, references },
    { "textDocument/hover", nullptr, hover },
    { "textDocument/completion", nullptr, completion },
    { "textDocument/documentSymbol", nullptr, outline },
    { "textDocument/prepareRename", nullptr, prepareRename },
    { "textDocument/rename", nullptr, rename },
};

constexpr LanguageServer::Notification LanguageServer::kNotifications[] = {
    { "exit", &LanguageServer::exit },
    { "textDocument/didOpen", &LanguageServer::open },
    { "textDocument/didChange", &LanguageServer::change },
    { "textDocument/didClose", &LanguageServer::close },
    { "textDocument/didSave", &LanguageServer::filesChanged },
    { "workspace/didChangeWatchedFiles", &LanguageServer::filesChanged },
    { "workspace/didChangeConfiguration", &LanguageServer::configure },
};

void LanguageServer::take(const QByteArray &message)
{
    const Json object = Json::parse(message.begin(), message.end(), nullptr, false);
    const Json &id = member(object, "id");
    const QString method = textOf(member(object, "method"));
    const Json &parameters = member(object, "params");
    if (id.is_null() && !method.isEmpty()) {
        const auto *const row =
            std::find_if(std::begin(kNotifications), std::end(kNotifications),
                         [&](const Notification &entry) { return hasMethod(entry.method, method); });
        const bool isTaken = m_state == State::Running || method == QLatin1String("exit");
        if (row != std::end(kNotifications) && isTaken) {
            (this->*row->take)(parameters);
        }
        return;
    }
    const bool hasId = id.is_number_integer() || id.is_string();
    if (hasId && method.isEmpty()) {
        return; // an answer: nothing was asked
    }
    Answer answer = object.is_discarded() ? Answer::error(Answer::ParseError, QStringLiteral("no JSON message"))
                    : !hasId              ? Answer::error(Answer::InvalidRequest, QStringLiteral("no request"))
                                          : answerTo(method, parameters);
    Json reply{ { "jsonrpc", "2.0" }, { "id", hasId ? id : Json() } };
    if (answer.code == 0) {
        reply.emplace("result", std::move(answer.result));
    } else {
        reply.emplace("error", Json{ { "code", answer.code }, { "message", answer.message } });
    }
    m_send(reply);
}

void LanguageServer::settle()
{
    if (m_state == State::Running && m_open.update()) {
        publish();
    }
}

Answer LanguageServer::answerTo(const QString &method, const Json &parameters)
{
    const bool isFirst = method == QLatin1String("initialize");
    if (m_state == State::New && !isFirst) {
        return Answer::error(Answer::NotInitialised, QStringLiteral("initialize comes first"));
    }
    if (m_state != State::New && (m_state != State::Running || isFirst)) {
        return Answer::error(Answer::InvalidRequest, QStringLiteral("'%1' comes too late").arg(method));
    }
    const auto *const row = std::find_if(std::begin(kRequests), std::end(kRequests),
                                         [&method](const Request &entry) { return hasMethod(entry.method, method); });
    if (row == std::end(kRequests)) {
        return Answer::error(Answer::UnknownMethod, QStringLiteral("'%1' is not offered").arg(method));
    }
    return row->question ? ask(row->question, parameters) : (this->*row->answer)(parameters);
}

Answer LanguageServer::ask(Question question, const Json &parameters)
{
    settle();
    const QString key = keyOf(documentUri(parameters));
    const OpenProgram *const program = m_open.sources().count(key) != 0 ? m_open.programWith(key) : nullptr;
    if (!program) {
        return Answer::error(Answer::InvalidParameters,
                             QStringLiteral("'%1' is not open").arg(documentUri(parameters)));
    }
    AskedPlace asked{ m_open, *program, program->files.indexOf(key) };
    asked.place = { asked.file, offsetOf(asked.sources().file(asked.file).text, member(parameters, "position")) };
    return question(asked, parameters);
}

Answer LanguageServer::initialize(const Json &parameters)
{
    m_state = State::Running;
    m_folder = QUrl(textOf(member(parameters, "rootUri"))).toLocalFile();
    setMainProgram(textOf(member(member(parameters, "initializationOptions"), "program")));
    const Json capabilities{
        { "textDocumentSync", Json{ { "openClose", true },
                                    { "change", 2 }, // by the parts that changed
                                    { "save", true } } },
        { "positionEncoding", "utf-16" },
        { "definitionProvider", true },
        { "referencesProvider", true },
        { "hoverProvider", true },
        { "documentSymbolProvider", true },
        { "documentFormattingProvider", true },
        { "renameProvider", Json{ { "prepareProvider", true } } },
        { "completionProvider", Json{ { "triggerCharacters", Json::array({ "." }) } } },
    };
    return { Json{ { "capabilities", capabilities }, { "serverInfo", Json{ { "name", "arkc" } } } } };
}

Answer LanguageServer::shutdown(const Json &)
{
    m_state = State::ShutDown;
    m_wasShutDown = true;
    return {};
}

Answer LanguageServer::format(const Json &parameters)
{
    const QString key = keyOf(documentUri(parameters));
    const std::optional<QString> text = m_open.editedText(key);
    if (!text) {
        return Answer::error(Answer::InvalidParameters,
                             QStringLiteral("'%1' is not open").arg(documentUri(parameters)));
    }
    const FormattedSource formatted = formatSource(*text, QFileInfo(key).fileName());
    if (!formatted.isGood()) {
        return Answer::error(Answer::Refused, headlineOf(formatted.diagnostics.front()));
    }
    Sources sources;
    const Sources::File &file = sources.file(sources.add(key, *text));
    return { formatted.text == *text ? Json::array()
                                     : Json::array({ Json{ { "range", rangeOf(file, 0, text->size()) },
                                                           { "newText", formatted.text } } }) };
}

void LanguageServer::exit(const Json &)
{
    m_state = State::Ended;
}

void LanguageServer::open(const Json &parameters)
{
    const QString uri = documentUri(parameters);
    const QString text = textOf(member(member(parameters, "textDocument"), "text"));
    m_open.open(keyOf(uri), { uri, withLineFeeds(text) });
}

void LanguageServer::change(const Json &parameters)
{
    const QString uri = documentUri(parameters);
    std::optional<QString> text = m_open.editedText(keyOf(uri));
    if (!text) {
        return;
    }
    for (const Json &changed : member(parameters, "contentChanges")) {
        const QString inserted = withLineFeeds(textOf(member(changed, "text")));
        const Json &range = member(changed, "range");
        const int first = range.is_null() ? 0 : offsetOf(*text, member(range, "start"));
        const int last = range.is_null() ? text->size() : offsetOf(*text, member(range, "end"));
        text->replace(first, std::max(0, last - first), inserted);
    }
    m_open.open(keyOf(uri), { uri, *text });
}

void LanguageServer::close(const Json &parameters)
{
    m_open.close(keyOf(documentUri(parameters)));
}

void LanguageServer::filesChanged(const Json &)
{
    m_open.fileChanged();
}

void LanguageServer::configure(const Json &parameters)
{
    setMainProgram(textOf(member(member(member(parameters, "settings"), "arkivon"), "program")));
}

void LanguageServer::setMainProgram(const QString &path)
{
    m_open.setMainProgram(path.isEmpty() ? path : QDir(m_folder).absoluteFilePath(path));
}

/// What is as it was told is not told again; a file that has no problems any more gets an empty list.
void LanguageServer::publish()
{
    std::map<QString, Json> problems;
    for (const auto &[key, source] : m_open.sources()) {
        problems[source.uri] = Json::array();
    }
    for (const auto &[root, program] : m_open.programs()) {
        const Sources &sources = program.source.sources;
        const QStringList names = sources.names();
        for (const Diagnostic &diagnostic : program.source.diagnostics) {
            const int file = std::max(0, names.indexOf(diagnostic.file));
            Json &list = problems[uriOf(m_open, program.files.at(file))];
            const Json problem = problemOf(sources.file(file), diagnostic);
            if (std::find(list.begin(), list.end(), problem) == list.end()) { // two programs may share a file
                list.push_back(problem);
            }
        }
    }
    for (const auto &[uri, list] : m_published) {
        problems.try_emplace(uri, Json::array());
    }
    for (const auto &[uri, list] : problems) {
        const auto told = m_published.find(uri);
        if (told == m_published.end() || told->second != list) {
            notify(QStringLiteral("textDocument/publishDiagnostics"), { { "uri", uri }, { "diagnostics", list } });
        }
    }
    m_published = problems;
}

void LanguageServer::notify(const QString &method, const Json &parameters)
{
    m_send({ { "jsonrpc", "2.0" }, { "method", method }, { "params", parameters } });
}
} // namespace arkc
