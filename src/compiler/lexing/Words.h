#pragma once
#include "compiler/lexing/Token.h"
#include "model/StructType.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <string_view>

/// A word of the language. All are compared in any case.
struct Word
{
    enum Use : unsigned {
        Reserved = 1U << 0,    // no name of a variable, function, routine, type or parameter
        Declares = 1U << 1,    // begins a declaration of the program
        ProgramOnly = 1U << 2, // and can stand nowhere else
        HasBody = 1U << 3,     // a declaration that ends with a block
        Type = 1U << 4,
        Storage = 1U << 5,
        Placing = 1U << 6,
        Begins = 1U << 7,      // a statement
        Switches = 1U << 8,    // a channel; a word of the language before a bracket, else a possible name
        Nests = 1U << 9,       // a block, or a statement in its place, has to follow
        HasTest = 1U << 10,    // in parentheses directly behind it, and then what nests
        Complete = 1U << 11,   // may be a whole statement
        Label = 1U << 12,      // before a colon
        ValueLabel = 1U << 13, // before a value and a colon
        Operator = 1U << 14,
        InPlace = 1U << 15, // only where it belongs; else a possible name
    };

    std::string_view text;
    unsigned uses;
    TokenKind token = TokenKind::End; // of an operator its sign; of a declaration what follows, or it is none
    int code = -1;                    // of a type, storage class or placement
};

/// All words, in the order in which they are suggested.
inline constexpr auto kWords = [] {
    using enum Word::Use;
    return std::to_array<Word>({
        { "button_event", Reserved | Declares | ProgramOnly | HasBody, TokenKind::LeftBracket },
        { "data_event", Reserved | Declares | ProgramOnly | HasBody, TokenKind::LeftBracket },
        { "level_event", Reserved | Declares | ProgramOnly | HasBody, TokenKind::LeftBracket },
        { "timeline_event", Reserved | Declares | ProgramOnly | HasBody, TokenKind::LeftBracket },
        { "function", Reserved | Declares | ProgramOnly | HasBody, TokenKind::Name },
        { "routine", Reserved | Declares | ProgramOnly | HasBody, TokenKind::Name },
        { "mainline", Reserved | Declares | ProgramOnly | HasBody, TokenKind::LeftBrace },
        { "program", Declares, TokenKind::Text },
        { "include", Reserved | Declares },
        { "const", Reserved | Declares },
        { "struct", Reserved | Declares | HasBody, TokenKind::Name },
        { "exclusive", Declares, TokenKind::LeftBracket },
        { "combine", Declares, TokenKind::LeftParen },
        { "level", Reserved | Declares, TokenKind::LeftBracket }, // also the event's data inside handlers
        { "start", Declares | HasBody, TokenKind::LeftBrace },
        { "integer", Reserved | Declares | Type, TokenKind::End, IntegerType },
        { "sinteger", Reserved | Declares | Type, TokenKind::End, SIntegerType },
        { "long", Reserved | Declares | Type, TokenKind::End, LongType },
        { "slong", Reserved | Declares | Type, TokenKind::End, SLongType },
        { "char", Reserved | Declares | Type, TokenKind::End, CharType },
        { "widechar", Reserved | Declares | Type, TokenKind::End, WideCharType },
        { "double", Reserved | Declares | Type, TokenKind::End, DoubleType },
        { "float", Reserved | Declares | Type, TokenKind::End, FloatType },
        { "device", Reserved | Declares | Type, TokenKind::End, DeviceType },
        { "devchan", Reserved | Declares | Type, TokenKind::End, DevChan::kTypeCode },
        { "devlev", Reserved | Declares | Type, TokenKind::End, DevLev::kTypeCode },
        { "volatile", Reserved | Declares | Storage, TokenKind::End, Volatile },
        { "non_volatile", Reserved | Declares | Storage, TokenKind::End, NonVolatile },
        { "persistent", Reserved | Declares | Storage, TokenKind::End, Persistent },
        { "if", Reserved | Begins | Nests | HasTest },
        { "while", Reserved | Begins | Nests | HasTest },
        { "for", Reserved | Begins | Nests | HasTest },
        { "switch", Reserved | Begins | Nests },
        { "select", Reserved | Begins | Nests },
        { "break", Reserved | Begins | Complete },
        { "continue", Reserved | Begins | Complete },
        { "return", Reserved | Begins | Complete },
        { "call", Reserved | Begins },
        { "wait", Reserved | Begins | Nests },
        { "cancel_wait", Reserved | Begins },
        { "cancel_all_wait", Reserved | Begins | Complete },
        { "send_string", Reserved | Begins },
        { "send_command", Reserved | Begins },
        { "send_level", Reserved | Begins },
        { "create_level", Reserved | Begins },
        { "create_buffer", Reserved | Begins },
        { "clear_buffer", Reserved | Begins },
        { "on", Begins | Switches },
        { "off", Begins | Switches },
        { "to", Begins | Switches },
        { "pulse", Begins | Switches },
        { "mod", Reserved | Operator, TokenKind::Percent },
        { "band", Reserved | Operator, TokenKind::Ampersand },
        { "bor", Reserved | Operator, TokenKind::Pipe },
        { "bxor", Reserved | Operator, TokenKind::Caret },
        { "bnot", Reserved | Operator, TokenKind::Tilde },
        { "lshift", Reserved | Operator, TokenKind::ShiftLeft },
        { "rshift", Reserved | Operator, TokenKind::ShiftRight },
        { "and", Reserved | Operator, TokenKind::And },
        { "or", Reserved | Operator, TokenKind::Or },
        { "xor", Reserved | Operator, TokenKind::Xor },
        { "not", Reserved | Operator, TokenKind::Not },
        { "else", Reserved | Nests },
        { "case", Reserved | Nests | ValueLabel },
        { "default", Reserved | Nests | Label },
        { "active", Reserved | Nests | ValueLabel },
        { "button", Reserved }, // the event's data inside handlers
        { "data", Reserved },
        { "timeline", Reserved },
        { "stack_var", Reserved | Placing, TokenKind::End, StackVar },
        { "local_var", Reserved | Placing, TokenKind::End, LocalVar },
        { "push", Label }, // the parts of handlers
        { "release", Label },
        { "online", Label },
        { "offline", Label },
        { "string", Label },
        { "command", Label },
        { "onerror", Label },
        { "hold", InPlace },
        { "repeat", InPlace },
        { "capture", InPlace },
    });
}();

const Word *findWord(const QString &text);          // nullptr: no word of the language
bool isWord(const QString &text, unsigned uses);    // a word with one of these uses
int codeOfWord(const QString &text, unsigned uses); // -1: not such a word
QString wordOfCode(int code, unsigned uses);        // empty: none
QStringList wordsWith(unsigned uses);               // with one of them

/// Whether rows (of a parser's table, say) name just the words that fit, each once.
template <class Row, size_t Size, class Fits>
constexpr bool nameWords(const Row (&rows)[Size], Fits fits)
{
    const auto isNamed = [&rows](const Word &word) {
        return std::count_if(std::begin(rows), std::end(rows),
                             [&word](const Row &row) { return word.text == row.word; }) == 1;
    };
    return std::all_of(kWords.begin(), kWords.end(), [&](const Word &word) { return !fits(word) || isNamed(word); }) &&
           std::count_if(kWords.begin(), kWords.end(), fits) == static_cast<std::ptrdiff_t>(Size);
}

/// The token of a word that has one.
constexpr TokenKind tokenOfWord(std::string_view text)
{
    return std::find_if(kWords.begin(), kWords.end(), [text](const Word &word) { return word.text == text; })->token;
}

inline bool isReservedWord(const QString &text)
{
    return isWord(text, Word::Reserved);
}

/// Why a name cannot be given to a variable; empty when it can.
QString nameProblem(const QString &name, bool isArray);

/// Whether the source form can write a text as a name, and as that of a member, which may be a word of the language.
bool isPlainName(const QString &text);
bool isMemberName(const QString &text);
