#include "tools/arkc/lsp/LibraryPage.h"

#include <QFile>
#include <QHash>
#include <QRegularExpression>

namespace arkc {
namespace {
QHash<QString, LibraryEntry> readEntries()
{
    static const QRegularExpression kEntry(QStringLiteral("^#### ([^\\n]+)\\n(.*?)\\n\\n"),
                                           QRegularExpression::MultilineOption |
                                               QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression kName(QStringLiteral("(\\w+)\\("));
    static const QRegularExpression kLink(QStringLiteral("\\[([^\\]]*)\\]\\([^)]*\\)"));
    QFile page(QStringLiteral(":/library.md"));
    QHash<QString, LibraryEntry> entries;
    const QString text = page.open(QIODevice::ReadOnly) ? QString::fromUtf8(page.readAll()) : QString();
    for (auto found = kEntry.globalMatch(text); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        const LibraryEntry entry{ match.captured(1), match.captured(2).replace(kLink, QStringLiteral("\\1")) };
        for (auto names = kName.globalMatch(entry.signature); names.hasNext();) {
            entries.insert(names.next().captured(1), entry);
        }
    }
    return entries;
}
} // namespace

const LibraryEntry *libraryEntry(const QString &name)
{
    static const QHash<QString, LibraryEntry> kEntries = readEntries();
    const auto found = kEntries.find(name.toLower());
    return found != kEntries.end() ? &*found : nullptr;
}
} // namespace arkc
