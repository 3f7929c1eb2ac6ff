#include "compiler/Words.h"

#include "compiler/Lexer.h"
#include "model/StructType.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {
struct OtherWord
{
    const char *word;
    const char *advice;
};

// What those who know another language write first.
constexpr OtherWord kOtherWords[] = {
    { "elif", "else if (…) { … }" },
    { "elsif", "else if (…) { … }" },
    { "elseif", "else if (…) { … }" },
    { "endif", "braces: if (…) { … }" },
    { "then", "braces: if (…) { … }" },
    { "foreach", "for (i = 1; i <= length_array(list); i++) { … }" },
    { "do", "while (…) { … }" },
    { "print", "send_string device, text; arkctl monitor shows it" },
    { "printf", "send_string device, text; arkctl monitor shows it" },
    { "println", "send_string device, text; arkctl monitor shows it" },
    { "echo", "send_string device, text; arkctl monitor shows it" },
    { "sleep", "wait 10 { … }: the block runs 1 s later" },
    { "delay", "wait 10 { … }: the block runs 1 s later" },
    { "string", "char name[100]" },
    { "str", "char name[100]" },
    { "int", "integer (unsigned) or sinteger" },
    { "bool", "integer, with true and false" },
    { "boolean", "integer, with true and false" },
    { "byte", "char" },
    { "var", "the type: integer, double or char name[100]" },
    { "let", "the type: integer, double or char name[100]" },
    { "auto", "the type: integer, double or char name[100]" },
    { "def", "function or routine" },
    { "func", "function or routine" },
    { "void", "routine name(…) { … }" },
    { "null", "null_str for an empty text, 0 for a number" },
    { "strlen", "length_string(text)" },
    { "len", "length_string(text) or length_array(list)" },
    { "substr", "mid_string(text, start, count)" },
    { "substring", "mid_string(text, start, count)" },
    { "indexof", "find_string(text, wanted)" },
    { "strcat", "\"text, 'more'\"" },
    { "sprintf", "format('%d', n) or \"'text', itoa(n)\"" },
};

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

/// Insertions, deletions, replacements and swaps of neighbours that make one text of the other; bound when it takes as
/// many or more.
int editDistance(const QString &from, const QString &to, int bound)
{
    constexpr int kLongest = 96;
    std::array<std::array<int, kLongest + 1>, 3> rows{};
    if (to.size() > kLongest) {
        return bound;
    }
    for (int k = 0; k <= to.size(); ++k) {
        rows[0][static_cast<size_t>(k)] = k;
    }
    for (int i = 1; i <= from.size(); ++i) {
        const auto &beforeLast = rows[static_cast<size_t>(i + 1) % 3];
        const auto &last = rows[static_cast<size_t>(i - 1) % 3];
        auto &row = rows[static_cast<size_t>(i) % 3];
        row[0] = i;
        int least = i;
        for (int k = 1; k <= to.size(); ++k) {
            const auto column = static_cast<size_t>(k);
            const int change = from.at(i - 1) == to.at(k - 1) ? 0 : 1;
            row[column] = std::min({ last[column] + 1, row[column - 1] + 1, last[column - 1] + change });
            if (i > 1 && k > 1 && from.at(i - 1) == to.at(k - 2) && from.at(i - 2) == to.at(k - 1)) {
                row[column] = std::min(row[column], beforeLast[column - 2] + 1);
            }
            least = std::min(least, row[column]);
        }
        if (least >= bound) {
            return bound;
        }
    }
    return rows[static_cast<size_t>(from.size()) % 3][static_cast<size_t>(to.size())];
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

QString otherLanguageAdvice(const QString &word)
{
    const auto *const found =
        std::find_if(std::begin(kOtherWords), std::end(kOtherWords), [&word](const OtherWord &other) {
            return word.compare(QLatin1String(other.word), Qt::CaseInsensitive) == 0;
        });
    return found != std::end(kOtherWords) ? QString::fromUtf8(found->advice) : QString();
}

QString closestName(const QString &written, const QStringList &candidates)
{
    constexpr int kLongest = 64; // longer names are no slips of the finger
    if (written.size() > kLongest || written.size() < 3) {
        return {};
    }
    const QString wanted = written.toUpper();
    QString best;
    int bestDistance = std::max(1, written.size() / 3) + 1;
    for (const QString &candidate : candidates) {
        if (std::abs(candidate.size() - written.size()) >= bestDistance) {
            continue;
        }
        const int distance = editDistance(wanted, candidate.toUpper(), bestDistance);
        if (distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    return best;
}
