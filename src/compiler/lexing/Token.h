#pragma once
#include "compiler/Sources.h"

enum class TokenKind : quint8 {
    End,
    Name,
    Number,
    Text,  // '…', with its doubled quotes made single
    Quote, // ": opens or closes a list that is flattened into bytes
    LeftParen,
    RightParen,
    LeftBracket,
    RightBracket,
    LeftBrace,
    RightBrace,
    Comma,
    Colon,
    Semicolon,
    Dot,
    Range, // ..
    Assign,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Plus,
    Minus,
    Star,
    Slash,
    Percent,
    PlusPlus,
    MinusMinus,
    PlusAssign,
    MinusAssign,
    StarAssign,
    SlashAssign,
    PercentAssign,
    ShiftLeft,
    ShiftRight,
    Ampersand,
    Pipe,
    Caret,
    Tilde,
    And,
    Or,
    Xor,
    Not,
};

/// Kept small: a table of constants has millions.
struct Token
{
    TokenKind kind = TokenKind::End;
    bool startsLine = false; // a line end stands before it, and no operator that would go on over it
    SourcePosition position{};
    int length = 0;
    QString text{}; // of a Name as written, of a Text its content
    double number = 0;

    bool is(TokenKind wanted) const { return kind == wanted; }
    bool isName(const char *lowerCase) const; // a Name with that text, in any case
};
