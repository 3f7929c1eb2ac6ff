#include "compiler/Compiler.h"

#include "compiler/checks/Checks.h"
#include "compiler/lexing/Braces.h"
#include "compiler/parsing/ProgramParser.h"
#include "runtime/ObjectFile.h"

#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace {
/// Cuts a file and all that it includes into one sequence of tokens.
class TokenReader
{
public:
    explicit TokenReader(Sources &sources, EditedText editedText = {})
        : m_sources(sources)
        , m_editedText(std::move(editedText))
    {}

    void read(const QString &name, const QString &text)
    {
        m_included.insert(QFileInfo(name).absoluteFilePath());
        readFile(m_sources.add(name, text));
    }

    std::vector<Token> take() { return std::move(m_tokens); }

private:
    void readFile(int file)
    {
        std::vector<Token> tokens = tokensOf(m_sources, file);
        const bool includes =
            std::any_of(tokens.begin(), tokens.end(), [](const Token &token) { return token.isName("include"); });
        if (file == 0 && !includes) { // as it is: a large table should not stand in the memory twice
            m_tokens = std::move(tokens);
            return;
        }
        int depth = 0;
        for (size_t i = 0; i + 1 < tokens.size(); ++i) {
            const Token &token = tokens[i];
            depth += token.is(TokenKind::LeftBrace) ? 1 : token.is(TokenKind::RightBrace) ? -1 : 0;
            if (depth == 0 && token.startsLine && token.isName("include") && tokens[i + 1].is(TokenKind::Text)) {
                include(tokens[i + 1]);
                ++i;
                continue;
            }
            if (depth == 0 && token.startsLine && token.isName("include")) {
                m_sources.report(Fault::Syntax, token.position,
                                 QStringLiteral("the name of a file expected: include 'projector.src'"));
                m_sources.hideUnknownNames();
                while (!tokens[i + 1].startsLine) {
                    ++i;
                }
                continue;
            }
            m_tokens.push_back(token);
        }
        if (file == 0) {
            m_tokens.push_back(tokens.back());
        }
    }

    /// Once, wherever it is asked for; so a circle of includes ends, too.
    void include(const Token &name)
    {
        constexpr int kMostDepth = 64;
        const QFileInfo including(m_sources.file(name.position.file).name);
        const QString path = QDir::cleanPath(including.dir().filePath(name.text));
        const QFileInfo included(path);
        const QString canonical =
            included.canonicalFilePath().isEmpty() ? included.absoluteFilePath() : included.canonicalFilePath();
        if (m_included.contains(canonical)) {
            return;
        }
        m_included.insert(canonical);
        const std::optional<QString> edited = m_editedText ? m_editedText(canonical) : std::nullopt;
        if (!edited && !included.isFile()) { // a pipe or a device might never end
            m_sources.report(Fault::Include, name.position,
                             included.isDir()
                                 ? QStringLiteral("the include '%1' is a folder; name a file in it").arg(path)
                             : included.exists() ? QStringLiteral("the include '%1' is no plain file").arg(path)
                                                 : QStringLiteral("the include '%1' does not exist; it is looked for "
                                                                  "beside the file that names it")
                                                       .arg(path));
            return;
        }
        const ReadSource source = edited ? ReadSource{ *edited, QString() } : readSource(path);
        if (!source.problem.isNull()) {
            const QString line = source.line > 0 ? QStringLiteral(" (line %1)").arg(source.line) : QString();
            m_sources.report(Fault::Include, name.position,
                             QStringLiteral("the include '%1': %2%3").arg(path, source.problem, line));
            return;
        }
        if (++m_depth > kMostDepth) {
            m_sources.report(Fault::Include, name.position, QStringLiteral("includes are nested too deeply"));
        } else {
            readFile(m_sources.add(path, source.text));
        }
        --m_depth;
    }

    Sources &m_sources;
    const EditedText m_editedText;
    std::vector<Token> m_tokens;
    QSet<QString> m_included;
    int m_depth = 0;
};

/// After an error a use may not have been read.
void warnOfUnused(Workspace &work)
{
    if (work.sources.hasErrors()) {
        return;
    }
    for (const auto &[name, symbol] : work.symbols.globals()) {
        if (!symbol.isUsed && !symbol.isConst) {
            work.sources.report(Fault::Unused, symbol.position,
                                QStringLiteral("the variable '%1' is never used").arg(symbol.name));
        }
    }
}

CompileResult compile(Sources &sources, const std::vector<Token> &tokens, NameIndex &names)
{
    AST program;
    QStringList refusals; // What the program object itself refuses, the checks should have found; it must not get lost
                          // if they did not.
    QObject::connect(&program, &AST::error, &program, [&refusals](const QString &text) { refusals += text; });
    Symbols symbols(program);
    TokenCursor cursor(sources, tokens);
    const std::vector<TokenRange> unbalanced = unbalancedDeclarations(tokens, sources);
    const Outline outline = outlineOf(cursor, unbalanced);
    HiddenLists hiddenLists(program);
    Globals *globals = nullptr;
    ConstantEvaluator constants(program, [&globals](const QString &name) { return globals->constantValue(name); });
    names.declareSystem(symbols);
    Workspace work{ sources, cursor, symbols, constants, hiddenLists, names };
    Checks checks(work);
    Globals declared(work, outline);
    globals = &declared;
    declared.declareTypes();
    ProgramParser parser(work, declared, outline);
    parser.nameCallables();
    declared.declareVariables();
    parser.parse();
    names.finish();
    warnOfUnused(work);
    if (!sources.hasErrors()) {
        const bool isLibrary =
            outline.startBlocks.empty() && outline.mainlineBlocks.empty() && outline.handlers.empty();
        checks.usage.tell(checks.expressions.guardedCalls(), isLibrary);
    }
    for (const QString &refusal : sources.hasErrors() ? QStringList() : refusals) {
        sources.report(Fault::Refused, {}, refusal);
    }
    CompileResult result;
    if (!sources.hasErrors() && !names.isKept()) {
        QDataStream stream(&result.objectFile, QIODevice::WriteOnly);
        const std::vector<int> statements = writeObjectFile(program, stream);
        result.places = work.places.places(sources, symbols, statements).behind(result.objectFile);
    }
    result.diagnostics = sources.takeDiagnostics();
    result.files = sources.names();
    return result;
}
} // namespace

QString CompileResult::text() const
{
    QString all;
    for (const Diagnostic &diagnostic : diagnostics) {
        all += textOf(diagnostic);
    }
    return all;
}

CompileResult compileSource(const QString &text, const QString &fileName)
{
    Sources sources;
    TokenReader reader(sources);
    reader.read(fileName, text);
    NameIndex names(NameIndex::Keep::Nothing);
    return compile(sources, reader.take(), names);
}

IndexedSource indexSource(const QString &text, const QString &fileName, const EditedText &editedText)
{
    IndexedSource indexed;
    TokenReader reader(indexed.sources, editedText);
    reader.read(fileName, text);
    indexed.diagnostics = compile(indexed.sources, reader.take(), indexed.names).diagnostics;
    return indexed;
}

CompileResult compileFile(const QString &path)
{
    const ReadSource source = readSource(path);
    if (source.problem.isNull()) {
        return compileSource(source.text, path);
    }
    CompileResult result;
    result.diagnostics.push_back(
        { Diagnostic::Severity::Error, path, source.line, source.line > 0 ? 1 : 0, source.problem });
    return result;
}
