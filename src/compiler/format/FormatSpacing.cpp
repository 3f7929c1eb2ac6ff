#include "compiler/format/FormatSpacing.h"

#include "compiler/lexing/Words.h"

namespace {
bool isOpening(const std::vector<FormatToken> &tokens, int index)
{
    const FormatToken &token = tokens[static_cast<size_t>(index)];
    return token.is(TokenKind::LeftParen) || token.is(TokenKind::LeftBracket) ||
           (token.is(TokenKind::LeftBrace) && !token.isBlock) || (token.is(TokenKind::Quote) && token.partner > index);
}

bool isClosing(const std::vector<FormatToken> &tokens, int index)
{
    const FormatToken &token = tokens[static_cast<size_t>(index)];
    return token.is(TokenKind::RightParen) || token.is(TokenKind::RightBracket) ||
           (token.is(TokenKind::RightBrace) && !token.isBlock) || (token.is(TokenKind::Quote) && token.partner < index);
}

/// Whether a value can end with the token.
bool endsValue(const std::vector<FormatToken> &tokens, int index)
{
    const FormatToken &token = tokens[static_cast<size_t>(index)];
    return (token.is(TokenKind::Name) && !token.isKeyword) || token.is(TokenKind::Number) ||
           token.is(TokenKind::Text) || token.is(TokenKind::PlusPlus) || token.is(TokenKind::MinusMinus) ||
           isClosing(tokens, index);
}

/// Whether an operator stands before its operand and has no other.
bool isPrefix(const std::vector<FormatToken> &tokens, int index)
{
    const FormatToken &token = tokens[static_cast<size_t>(index)];
    switch (token.kind) {
    case TokenKind::Not:
    case TokenKind::Tilde:
        return !token.text.at(0).isLetter();
    case TokenKind::Minus:
    case TokenKind::Plus:
    case TokenKind::PlusPlus:
    case TokenKind::MinusMinus:
        return index == 0 || token.startsStatement || !endsValue(tokens, index - 1);
    default:
        return false;
    }
}

/// Whether two tokens would be read as others without a blank between them.
bool wouldFuse(const FormatToken &first, const FormatToken &second)
{
    const QChar last = first.text.back();
    const QChar next = second.text.front();
    const QString signs = QStringLiteral("=<>!+-*/%&|^.");
    const bool isWord = isNamePart(last) || last == QLatin1Char('$');
    const bool isNumberPart = (next >= QLatin1Char('0') && next <= QLatin1Char('9')) || next == QLatin1Char('.');
    return (isWord && (isNamePart(next) || next == QLatin1Char('$'))) ||
           (signs.contains(last) && signs.contains(next)) || (first.is(TokenKind::Dot) && isNumberPart) ||
           (first.is(TokenKind::Number) && last == QLatin1Char('.')) || (last == QLatin1Char('\'') && next == last) ||
           (last == QLatin1Char('(') && next == QLatin1Char('*')) ||
           (first.is(TokenKind::Number) && second.is(TokenKind::Dot));
}

bool isTypeWord(const FormatToken &token)
{
    return token.is(TokenKind::Name) && codeOfWord(token.text, Word::Type) >= 0;
}

/// Before an opening parenthesis or bracket.
bool isSetOff(const std::vector<FormatToken> &tokens, int index, int before)
{
    const FormatToken &first = tokens[static_cast<size_t>(before)];
    const FormatToken &second = tokens[static_cast<size_t>(index)];
    const bool isAttached = endsValue(tokens, before) || isTypeWord(first) ||
                            (first.is(TokenKind::Name) && second.is(TokenKind::LeftBracket) && !second.isInBlock);
    return !isAttached || second.startsStatement;
}

bool hasBlank(const std::vector<FormatToken> &tokens, int index, int before)
{
    const FormatToken &first = tokens[static_cast<size_t>(before)];
    const FormatToken &second = tokens[static_cast<size_t>(index)];
    if (second.is(TokenKind::Semicolon) || second.is(TokenKind::Comma) || isClosing(tokens, index)) {
        return false;
    }
    if (first.isBlock || second.isBlock || first.isLabelColon || first.is(TokenKind::Comma) ||
        first.is(TokenKind::Semicolon)) {
        return true;
    }
    if (isOpening(tokens, before) || second.is(TokenKind::Colon) || first.is(TokenKind::Colon) ||
        second.is(TokenKind::Dot) || first.is(TokenKind::Dot) || second.is(TokenKind::Range) ||
        first.is(TokenKind::Range)) {
        return false;
    }
    if (isPrefix(tokens, before)) {
        return false;
    }
    if (second.is(TokenKind::PlusPlus) || second.is(TokenKind::MinusMinus)) {
        return isPrefix(tokens, index);
    }
    if (second.is(TokenKind::LeftParen) || second.is(TokenKind::LeftBracket)) {
        return isSetOff(tokens, index, before);
    }
    return true;
}
} // namespace

int blanksBefore(const std::vector<FormatToken> &tokens, int index, int before)
{
    const FormatToken &first = tokens[static_cast<size_t>(before)];
    const FormatToken &second = tokens[static_cast<size_t>(index)];
    const bool followsBlock = first.isBlock && first.is(TokenKind::RightBrace);
    const bool followsBrace = first.isBlock && first.is(TokenKind::LeftBrace);
    const bool isAlone = second.startsStatement && !second.startsNested && !second.isJoined && !followsBrace &&
                         !first.is(TokenKind::Semicolon) && !second.is(TokenKind::Semicolon);
    if (isAlone && (followsBlock || second.isInBlock)) {
        return second.isWord("else") ? 1 : 2;
    }
    return hasBlank(tokens, index, before) || wouldFuse(first, second) ? 1 : 0;
}
