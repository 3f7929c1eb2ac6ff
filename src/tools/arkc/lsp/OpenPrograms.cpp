#include "tools/arkc/lsp/OpenPrograms.h"

#include "tools/arkc/Files.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace arkc {
QString fileKey(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}

const OpenProgram *OpenPrograms::programWith(const QString &key) const
{
    const auto found = std::find_if(m_programs.begin(), m_programs.end(),
                                    [&key](const auto &entry) { return entry.second.files.contains(key); });
    return found != m_programs.end() ? &found->second : nullptr;
}

std::optional<QString> OpenPrograms::editedText(const QString &path) const
{
    const auto found = m_sources.find(path);
    return found != m_sources.end() ? std::optional(found->second.text) : std::nullopt;
}

OpenSource &OpenPrograms::open(const QString &key, const OpenSource &source)
{
    changed(key);
    return m_sources[key] = source;
}

void OpenPrograms::close(const QString &key)
{
    m_sources.erase(key);
    changed(key);
}

void OpenPrograms::changed(const QString &key)
{
    for (auto &[root, program] : m_programs) {
        program.isStale = program.isStale || program.files.contains(key);
    }
}

void OpenPrograms::fileChanged()
{
    for (auto &[root, program] : m_programs) {
        program.isStale = true;
    }
}

void OpenPrograms::setMainProgram(const QString &path)
{
    const QString key = path.isEmpty() ? QString() : fileKey(path);
    if (key != m_mainProgram) {
        m_mainProgram = key;
        m_programs.clear();
    }
}

bool OpenPrograms::update()
{
    bool hasRead = false;
    const auto readOnce = [this, &hasRead](const QString &root) {
        OpenProgram &program = m_programs[root];
        program.root = root;
        if (program.isStale) {
            read(program);
            hasRead = true;
        }
    };
    std::vector<QString> roots;
    for (const auto &[root, program] : m_programs) {
        roots.push_back(root);
    }
    std::for_each(roots.begin(), roots.end(), readOnce);
    for (const auto &[key, source] : m_sources) {
        if (!programWith(key)) {
            readOnce(rootOf(key));
        }
        if (!programWith(key)) { // the other one only seemed to include it
            readOnce(key);
        }
    }
    for (auto entry = m_programs.begin(); entry != m_programs.end();) { // parts of others, and what nobody has open
        const auto &[root, program] = *entry;
        const bool isPart = std::any_of(m_programs.begin(), m_programs.end(), [&root = root](const auto &other) {
            return other.first != root && other.second.files.contains(root);
        });
        const bool isOpen = std::any_of(m_sources.begin(), m_sources.end(), [&program = program](const auto &source) {
            return program.files.contains(source.first);
        });
        hasRead = hasRead || isPart || !isOpen;
        entry = isPart || !isOpen ? m_programs.erase(entry) : std::next(entry);
    }
    return hasRead;
}

void OpenPrograms::read(OpenProgram &program)
{
    const auto edited = [this](const QString &path) { return editedText(path); };
    const std::optional<QString> text = edited(program.root);
    const Input input = text ? Input{ program.root, text->toUtf8(), {} } : readInput(program.root);
    if (const auto problem = sourceProblem(input, Emptiness::Refused)) {
        program.source = {};
        program.source.diagnostics = { *problem };
        program.source.sources.add(program.root, text.value_or(QString()));
    } else {
        program.source = indexSource(text ? *text : decodeSource(input.bytes).text, program.root, edited);
    }
    program.files = QStringList(program.root);
    for (const QString &name : program.source.sources.names().mid(1)) {
        program.files += fileKey(name);
    }
    program.isStale = false;
}

/// The source that includes the others of its program: the one that is set, else one in its folder, else itself.
QString OpenPrograms::rootOf(const QString &key) const
{
    constexpr int kMost = 200; // sources in a folder
    QStringList parts{ m_mainProgram };
    for (int i = 0; !m_mainProgram.isEmpty() && i < parts.size(); ++i) {
        for (const QString &included : includesOf(parts.at(i))) {
            parts += parts.contains(included) ? QStringList() : QStringList(included);
        }
    }
    if (parts.contains(key)) {
        return m_mainProgram;
    }
    const QDir folder = QFileInfo(key).dir();
    const QStringList beside = folder.entryList({ QStringLiteral("*.src") }, QDir::Files, QDir::Name).mid(0, kMost);
    QStringList chain{ key }; // each is included by the next
    for (bool isMore = true; isMore;) {
        const auto found = std::find_if(beside.begin(), beside.end(), [&](const QString &name) {
            const QString candidate = fileKey(folder.filePath(name));
            return !chain.contains(candidate) && includesOf(candidate).contains(chain.last());
        });
        isMore = found != beside.end();
        chain += isMore ? QStringList(fileKey(folder.filePath(*found))) : QStringList();
    }
    return chain.last();
}

/// As far as can be seen without reading the program.
QStringList OpenPrograms::includesOf(const QString &key) const
{
    constexpr qint64 kMost = 4'000'000;
    static const QRegularExpression kInclude(QStringLiteral("^[ \\t]*include[ \\t]+'([^'\\n]+)'"),
                                             QRegularExpression::CaseInsensitiveOption |
                                                 QRegularExpression::MultilineOption);
    const QFileInfo info(key);
    const std::optional<QString> edited = editedText(key);
    const QString text = edited ? *edited : info.isFile() && info.size() <= kMost ? readSource(key).text : QString();
    QStringList includes;
    for (auto found = kInclude.globalMatch(text); found.hasNext();) {
        includes += fileKey(info.dir().filePath(found.next().captured(1)));
    }
    return includes;
}
} // namespace arkc
