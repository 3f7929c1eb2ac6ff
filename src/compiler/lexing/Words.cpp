#include "compiler/lexing/Words.h"

#include "compiler/lexing/Lexer.h"

#include <QHash>

namespace {
QString textOf(const Word &word)
{
    return QString::fromLatin1(word.text.data(), static_cast<int>(word.text.size()));
}
} // namespace

const Word *findWord(const QString &text)
{
    static const QHash<QString, const Word *> kByText = [] {
        QHash<QString, const Word *> words;
        for (const Word &word : kWords) {
            words.insert(textOf(word), &word);
        }
        return words;
    }();
    return kByText.value(text.toCaseFolded());
}

bool isWord(const QString &text, unsigned uses)
{
    const Word *const word = findWord(text);
    return word && (word->uses & uses) != 0;
}

int codeOfWord(const QString &text, unsigned uses)
{
    return isWord(text, uses) ? findWord(text)->code : -1;
}

QString wordOfCode(int code, unsigned uses)
{
    const auto *const found = std::find_if(kWords.begin(), kWords.end(), [code, uses](const Word &word) {
        return (word.uses & uses) != 0 && word.code == code;
    });
    return found != kWords.end() ? textOf(*found) : QString();
}

QStringList wordsWith(unsigned uses)
{
    QStringList words;
    for (const Word &word : kWords) {
        if ((word.uses & uses) != 0) {
            words += textOf(word);
        }
    }
    return words;
}

QString nameProblem(const QString &name, bool isArray)
{
    if (isReservedWord(name)) {
        return QStringLiteral("'%1' is a word of the language").arg(name);
    }
    return isArray && isWord(name, Word::Switches)
               ? QStringLiteral("an array cannot be called '%1': %1 [ begins a statement").arg(name)
               : QString();
}

bool isMemberName(const QString &text)
{
    return !text.isEmpty() && isNameStart(text.at(0)) && std::all_of(text.begin(), text.end(), isNamePart) &&
           !isWord(text, Word::Operator);
}

bool isPlainName(const QString &text)
{
    return isMemberName(text) && !isReservedWord(text);
}
