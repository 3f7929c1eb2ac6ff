#include "compiler/Words.h"

#include "compiler/Lexer.h"
#include "model/StructType.h"

#include <algorithm>
#include <vector>

namespace {
struct Word
{
    const char *text;
    int code;
};

constexpr Word kTypes[] = {
    { "integer", IntegerType },
    { "sinteger", SIntegerType },
    { "long", LongType },
    { "slong", SLongType },
    { "char", CharType },
    { "widechar", WideCharType },
    { "double", DoubleType },
    { "float", FloatType },
    { "device", DeviceType },
    { "devchan", DevChan::kTypeCode },
    { "devlev", DevLev::kTypeCode },
};
constexpr Word kStorageClasses[] = { { "volatile", Volatile },
                                     { "non_volatile", NonVolatile },
                                     { "persistent", Persistent } };
constexpr Word kPlacements[] = { { "stack_var", StackVar }, { "local_var", LocalVar } };

constexpr const char *kProgramWords[] = { "button_event", "data_event", "level_event", "timeline_event",
                                          "function",     "routine",    "mainline" };
constexpr const char *kOtherDeclarationWords[] = { "program",   "include", "const", "struct",
                                                   "exclusive", "combine", "level", "start" };
constexpr const char *kStatementWords[] = {
    "if",          "while",        "for",        "switch",       "select",        "break",
    "continue",    "return",       "call",       "wait",         "cancel_wait",   "cancel_all_wait",
    "send_string", "send_command", "send_level", "create_level", "create_buffer", "clear_buffer",
};
constexpr const char *kSwitchingWords[] = { "on", "off", "to", "pulse" };
constexpr const char *kOperatorWords[] = { "mod", "band", "bor", "bxor",   "bnot",  "and",
                                           "or",  "xor",  "not", "lshift", "rshift" };
constexpr const char *kOtherReserved[] = {
    "else",    "case",   "default", "active", "const",    "struct",
    "include", "button", "data",    "level",  "timeline", // the event's data inside handlers
};

template <size_t Size>
int codeIn(const Word (&table)[Size], const QString &text)
{
    const auto *const found = std::find_if(std::begin(table), std::end(table), [&text](const Word &word) {
        return text.compare(QLatin1String(word.text), Qt::CaseInsensitive) == 0;
    });
    return found != std::end(table) ? found->code : -1;
}

template <size_t Size>
QString wordIn(const Word (&table)[Size], int code)
{
    const auto *const found =
        std::find_if(std::begin(table), std::end(table), [code](const Word &word) { return word.code == code; });
    return found != std::end(table) ? QString::fromLatin1(found->text) : QString();
}

template <size_t Size>
bool isIn(const char *const (&table)[Size], const QString &text)
{
    return std::any_of(std::begin(table), std::end(table), [&text](const char *word) {
        return text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
    });
}

template <size_t Size>
void appendAll(QStringList &list, const char *const (&table)[Size])
{
    for (const char *word : table) {
        list += QString::fromLatin1(word);
    }
}

/// Insertions, deletions, replacements and swaps of neighbours that make one text of the other.
int editDistance(const QString &from, const QString &to)
{
    std::vector<std::vector<int>> cost(static_cast<size_t>(from.size()) + 1,
                                       std::vector<int>(static_cast<size_t>(to.size()) + 1));
    for (int i = 0; i <= from.size(); ++i) {
        for (int k = 0; k <= to.size(); ++k) {
            const auto row = static_cast<size_t>(i);
            const auto column = static_cast<size_t>(k);
            if (i == 0 || k == 0) {
                cost[row][column] = i + k;
                continue;
            }
            const int change = from.at(i - 1) == to.at(k - 1) ? 0 : 1;
            cost[row][column] =
                std::min({ cost[row - 1][column] + 1, cost[row][column - 1] + 1, cost[row - 1][column - 1] + change });
            if (i > 1 && k > 1 && from.at(i - 1) == to.at(k - 2) && from.at(i - 2) == to.at(k - 1)) {
                cost[row][column] = std::min(cost[row][column], cost[row - 2][column - 2] + 1);
            }
        }
    }
    return cost.back().back();
}
} // namespace

int typeCodeOfWord(const QString &word)
{
    return codeIn(kTypes, word);
}

int storageCodeOfWord(const QString &word)
{
    return codeIn(kStorageClasses, word);
}

int placementCodeOfWord(const QString &word)
{
    return codeIn(kPlacements, word);
}

QString wordOfTypeCode(int code)
{
    return wordIn(kTypes, code);
}

QString wordOfStorageCode(int code)
{
    return wordIn(kStorageClasses, code);
}

QString wordOfPlacementCode(int code)
{
    return wordIn(kPlacements, code);
}

bool isProgramWord(const QString &word)
{
    return isIn(kProgramWords, word);
}

QStringList declarationWords()
{
    QStringList words;
    appendAll(words, kProgramWords);
    appendAll(words, kOtherDeclarationWords);
    for (const Word &type : kTypes) {
        words += QString::fromLatin1(type.text);
    }
    for (const Word &storage : kStorageClasses) {
        words += QString::fromLatin1(storage.text);
    }
    return words;
}

QStringList statementWords()
{
    QStringList words;
    appendAll(words, kStatementWords);
    appendAll(words, kSwitchingWords);
    return words;
}

QStringList allWords()
{
    QStringList words = declarationWords() + statementWords();
    appendAll(words, kOperatorWords);
    appendAll(words, kOtherReserved);
    for (const Word &placement : kPlacements) {
        words += QString::fromLatin1(placement.text);
    }
    return words;
}

bool isReservedWord(const QString &word)
{
    return isIn(kStatementWords, word) || isIn(kOperatorWords, word) || isIn(kOtherReserved, word) ||
           isProgramWord(word) || typeCodeOfWord(word) >= 0 || storageCodeOfWord(word) >= 0 ||
           placementCodeOfWord(word) >= 0;
}

bool isSwitchingWord(const QString &word)
{
    return isIn(kSwitchingWords, word);
}

QString nameProblem(const QString &name, bool isArray)
{
    if (isReservedWord(name)) {
        return QStringLiteral("'%1' is a word of the language").arg(name);
    }
    return isArray && isSwitchingWord(name)
               ? QStringLiteral("an array cannot be called '%1': %1 [ begins a statement").arg(name)
               : QString();
}

bool isMemberName(const QString &text)
{
    return !text.isEmpty() && isNameStart(text.at(0)) && std::all_of(text.begin(), text.end(), isNamePart) &&
           !isIn(kOperatorWords, text);
}

bool isPlainName(const QString &text)
{
    return isMemberName(text) && !isReservedWord(text);
}

QString closestName(const QString &written, const QStringList &candidates)
{
    constexpr int kLongest = 64; // longer names are no slips of the finger
    if (written.size() > kLongest || written.size() < 3) {
        return {};
    }
    QString best;
    int bestDistance = std::max(1, written.size() / 3) + 1;
    for (const QString &candidate : candidates) {
        if (std::abs(candidate.size() - written.size()) >= bestDistance) {
            continue;
        }
        const int distance = editDistance(written.toUpper(), candidate.toUpper());
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}
