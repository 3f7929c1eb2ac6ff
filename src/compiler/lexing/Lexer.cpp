#include "compiler/lexing/Lexer.h"

#include "compiler/lexing/Words.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace {
struct Sign
{
    const char *text;
    TokenKind kind;
};

// Longer signs stand before the shorter ones that they begin with.
constexpr Sign kSigns[] = {
    { "==", TokenKind::Equal },        { "<>", TokenKind::NotEqual },
    { "!=", TokenKind::NotEqual },     { "<=", TokenKind::LessEqual },
    { ">=", TokenKind::GreaterEqual }, { "<<", TokenKind::ShiftLeft },
    { ">>", TokenKind::ShiftRight },   { "++", TokenKind::PlusPlus },
    { "--", TokenKind::MinusMinus },   { "+=", TokenKind::PlusAssign },
    { "-=", TokenKind::MinusAssign },  { "*=", TokenKind::StarAssign },
    { "/=", TokenKind::SlashAssign },  { "%=", TokenKind::PercentAssign },
    { "&&", TokenKind::And },          { "||", TokenKind::Or },
    { "^^", TokenKind::Xor },          { "..", TokenKind::Range },
    { "(", TokenKind::LeftParen },     { ")", TokenKind::RightParen },
    { "[", TokenKind::LeftBracket },   { "]", TokenKind::RightBracket },
    { "{", TokenKind::LeftBrace },     { "}", TokenKind::RightBrace },
    { ",", TokenKind::Comma },         { ":", TokenKind::Colon },
    { ";", TokenKind::Semicolon },     { ".", TokenKind::Dot },
    { "=", TokenKind::Assign },        { "<", TokenKind::Less },
    { ">", TokenKind::Greater },       { "+", TokenKind::Plus },
    { "-", TokenKind::Minus },         { "*", TokenKind::Star },
    { "/", TokenKind::Slash },         { "%", TokenKind::Percent },
    { "&", TokenKind::Ampersand },     { "|", TokenKind::Pipe },
    { "^", TokenKind::Caret },         { "~", TokenKind::Tilde },
    { "!", TokenKind::Not },           { "\"", TokenKind::Quote },
};

/// After these a statement goes on, also over a line end.
bool goesOn(TokenKind kind)
{
    switch (kind) {
    case TokenKind::End:
    case TokenKind::Name:
    case TokenKind::Number:
    case TokenKind::Text:
    case TokenKind::Quote:
    case TokenKind::LeftParen:
    case TokenKind::RightParen:
    case TokenKind::LeftBracket:
    case TokenKind::RightBracket:
    case TokenKind::LeftBrace:
    case TokenKind::RightBrace:
    case TokenKind::Colon:
    case TokenKind::Semicolon:
    case TokenKind::PlusPlus:
    case TokenKind::MinusMinus:
        return false;
    case TokenKind::Comma:
    case TokenKind::Dot:
    case TokenKind::Range:
    case TokenKind::Assign:
    case TokenKind::Equal:
    case TokenKind::NotEqual:
    case TokenKind::Less:
    case TokenKind::LessEqual:
    case TokenKind::Greater:
    case TokenKind::GreaterEqual:
    case TokenKind::Plus:
    case TokenKind::Minus:
    case TokenKind::Star:
    case TokenKind::Slash:
    case TokenKind::Percent:
    case TokenKind::PlusAssign:
    case TokenKind::MinusAssign:
    case TokenKind::StarAssign:
    case TokenKind::SlashAssign:
    case TokenKind::PercentAssign:
    case TokenKind::ShiftLeft:
    case TokenKind::ShiftRight:
    case TokenKind::Ampersand:
    case TokenKind::Pipe:
    case TokenKind::Caret:
    case TokenKind::Tilde:
    case TokenKind::And:
    case TokenKind::Or:
    case TokenKind::Xor:
    case TokenKind::Not:
        return true;
    }
    return false;
}

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

bool isHexDigit(QChar character)
{
    const QChar lower = character.toLower();
    return isDigit(character) || (lower >= QLatin1Char('a') && lower <= QLatin1Char('f'));
}

class Lexer
{
public:
    Lexer(Sources &sources, int file)
        : m_sources(sources)
        , m_file(file)
        , m_text(sources.file(file).text)
    {}

    std::vector<Token> run()
    {
        while (skipBlanks()) {
            readToken();
        }
        m_start = m_text.size();
        m_lineBefore = true;
        add(TokenKind::End);
        return std::move(m_tokens);
    }

private:
    QChar at(int offset) const { return offset < m_text.size() ? m_text.at(offset) : QChar(); }
    bool startsWith(const char *text) const { return QStringView(m_text).mid(m_at).startsWith(QLatin1String(text)); }

    /// Past blanks, line ends and comments. False at the end of the file.
    bool skipBlanks()
    {
        while (m_at < m_text.size()) {
            if (startsWith("//")) {
                const int end = m_text.indexOf(QLatin1Char('\n'), m_at);
                m_at = end < 0 ? m_text.size() : end;
            } else if (startsWith("/*")) {
                skipComment("*/");
            } else if (startsWith("(*")) {
                skipComment("*)");
            } else if (at(m_at) == QLatin1Char('\n')) {
                m_lineBefore = true;
                ++m_at;
            } else if (at(m_at).isSpace()) {
                ++m_at;
            } else {
                return true;
            }
        }
        return false;
    }

    void skipComment(const char *close)
    {
        const int start = m_at;
        const int end = m_text.indexOf(QLatin1String(close), m_at + 2);
        if (end < 0) {
            m_sources.report(Fault::UnclosedBracket, { m_file, start },
                             QStringLiteral("this comment has no end; '%1' is missing").arg(QLatin1String(close)));
        }
        m_at = end < 0 ? m_text.size() : end + 2;
        m_lineBefore = m_lineBefore || QStringView(m_text).mid(start, m_at - start).contains(QLatin1Char('\n'));
    }

    void readToken()
    {
        m_start = m_at;
        const QChar first = at(m_at);
        if (isNameStart(first)) {
            readName();
        } else if (first == QLatin1Char('$') || isDigit(first) ||
                   (first == QLatin1Char('.') && isDigit(at(m_at + 1)))) {
            readNumber();
        } else if (first == QLatin1Char('\'')) {
            readText();
        } else {
            readSign();
        }
    }

    void readName()
    {
        while (isNamePart(at(m_at))) {
            ++m_at;
        }
        const QString name = m_text.mid(m_start, m_at - m_start);
        if (const Word *word = findWord(name); word && (word->uses & Word::Operator) != 0) {
            add(word->token);
            return;
        }
        add(TokenKind::Name).text = name;
    }

    void readNumber()
    {
        const bool isDollar = at(m_at) == QLatin1Char('$');
        const bool isHex = isDollar || (at(m_at) == QLatin1Char('0') && at(m_at + 1).toLower() == QLatin1Char('x'));
        double number = 0;
        if (isHex) {
            m_at += isDollar ? 1 : 2;
            const int digits = m_at;
            for (; isHexDigit(at(m_at)); ++m_at) {
                number = number * 16 + QString(at(m_at)).toInt(nullptr, 16);
            }
            if (m_at == digits) {
                m_sources.report(Fault::BadNumber, { m_file, m_start }, QStringLiteral("hexadecimal digits expected"));
            }
        } else {
            skipDecimal();
            number = m_text.mid(m_start, m_at - m_start).toDouble();
        }
        if (!std::isfinite(number)) {
            m_sources.report(Fault::BadNumber, { m_file, m_start }, QStringLiteral("the number is too large"));
            number = 0;
        }
        if (isNamePart(at(m_at))) {
            const int tail = m_at;
            while (isNamePart(at(m_at))) {
                ++m_at;
            }
            m_sources.report(Fault::BadNumber, { m_file, tail },
                             QStringLiteral("'%1' does not belong to a number").arg(m_text.mid(tail, m_at - tail)));
        }
        add(TokenKind::Number).number = number;
    }

    void skipDecimal()
    {
        skipDigits();
        if (at(m_at) == QLatin1Char('.') && at(m_at + 1) != QLatin1Char('.') && !isNameStart(at(m_at + 1))) {
            ++m_at;
            skipDigits();
        }
        if (at(m_at).toLower() == QLatin1Char('e')) {
            const QChar sign = at(m_at + 1);
            const int digits = sign == QLatin1Char('+') || sign == QLatin1Char('-') ? m_at + 2 : m_at + 1;
            if (isDigit(at(digits))) {
                m_at = digits;
                skipDigits();
            }
        }
    }

    void skipDigits()
    {
        while (isDigit(at(m_at))) {
            ++m_at;
        }
    }

    void readText()
    {
        QString content = QStringLiteral("");
        for (++m_at; m_at < m_text.size() && at(m_at) != QLatin1Char('\n'); ++m_at) {
            if (at(m_at) == QLatin1Char('\'')) {
                if (at(m_at + 1) != QLatin1Char('\'')) {
                    ++m_at;
                    add(TokenKind::Text).text = content;
                    return;
                }
                ++m_at;
            }
            content += at(m_at);
        }
        m_sources.report(Fault::UnclosedBracket, { m_file, m_start },
                         QStringLiteral("this text has no end on its line; ' is missing"));
        add(TokenKind::Text).text = content;
    }

    void readSign()
    {
        for (const Sign &sign : kSigns) {
            if (startsWith(sign.text)) {
                m_at += static_cast<int>(qstrlen(sign.text));
                add(sign.kind);
                if (sign.kind == TokenKind::Quote) {
                    m_isInQuotes = !m_isInQuotes;
                    readQuotedText();
                }
                return;
            }
        }
        const int length = at(m_at).isHighSurrogate() && at(m_at + 1).isLowSurrogate() ? 2 : 1;
        const QString character = m_text.mid(m_at, length);
        const QString shown = at(m_at).isPrint() || length == 2
                                  ? QStringLiteral("'%1'").arg(character)
                                  : QStringLiteral("U+%1").arg(at(m_at).unicode(), 4, 16, QLatin1Char('0'));
        m_sources.report(Fault::BadCharacter, { m_file, m_at }, QStringLiteral("unexpected character %1").arg(shown));
        m_at += length;
    }

    /// Behind a double quote: words as another language writes a text, "POWER ON\r". They are told, and read as the
    /// text.
    void readQuotedText()
    {
        static const QRegularExpression kTwoWords(QStringLiteral("(?<![$\\w])([A-Za-z_]\\w*)[ \\t]+([A-Za-z_]\\w*)"));
        const int close = m_isInQuotes ? endOfQuotes() : -1;
        if (close < 0) {
            return;
        }
        const QString content = m_text.mid(m_at, close - m_at);
        const QRegularExpressionMatch words = kTwoWords.match(content);
        const bool areWords = words.hasMatch() && !isWord(words.captured(1), Word::Operator) &&
                              !isWord(words.captured(2), Word::Operator);
        if (!areWords && !content.contains(QLatin1Char('\\'))) {
            return;
        }
        QString text = content;
        QStringList bytes;
        for (bool isMore = true; isMore;) {
            isMore = text.endsWith(QLatin1String("\\r")) || text.endsWith(QLatin1String("\\n"));
            if (isMore) {
                bytes.prepend(text.endsWith(QLatin1Char('r')) ? QStringLiteral("$0D") : QStringLiteral("$0A"));
                text.chop(2);
            }
        }
        bytes.prepend(QStringLiteral("'%1'").arg(text));
        m_sources.report(Fault::QuotedText, { m_file, m_start },
                         QStringList{ bytes.size() > 1 ? QStringLiteral("\"%1\"").arg(bytes.join(QStringLiteral(", ")))
                                                       : bytes.first() });
        m_start = m_at;
        m_at = close;
        add(TokenKind::Text).text = text;
    }

    /// The offset of the next double quote of the line when no text begins before it; -1: there is none.
    int endOfQuotes() const
    {
        int end = m_at;
        while (end < m_text.size() && !QStringLiteral("\"'\n").contains(m_text.at(end))) {
            ++end;
        }
        return at(end) == QLatin1Char('"') ? end : -1;
    }

    Token &add(TokenKind kind)
    {
        const bool startsLine = m_lineBefore && (m_tokens.empty() || !goesOn(m_tokens.back().kind));
        m_tokens.push_back({ kind, startsLine, { m_file, m_start }, m_at - m_start });
        m_lineBefore = false;
        return m_tokens.back();
    }

    Sources &m_sources;
    const int m_file;
    const QString m_text;
    int m_at = 0;
    int m_start = 0; // of the token being read
    bool m_lineBefore = true;
    bool m_isInQuotes = false;
    std::vector<Token> m_tokens;
};
} // namespace

bool Token::isName(const char *lowerCase) const
{
    return kind == TokenKind::Name && text.compare(QLatin1String(lowerCase), Qt::CaseInsensitive) == 0;
}

bool isNameStart(QChar character)
{
    if (character.unicode() < 128) {
        return character == QLatin1Char('_') || character.isLetter();
    }
    return character.isLetter() || character.isMark();
}

bool isNamePart(QChar character)
{
    return isNameStart(character) || isDigit(character) || (character.unicode() >= 128 && character.isNumber());
}

std::vector<Token> tokensOf(Sources &sources, int file)
{
    return Lexer(sources, file).run();
}

QString describe(const Token &token, const Sources &sources)
{
    if (token.is(TokenKind::End)) {
        return QStringLiteral("end of file");
    }
    const QString &text = sources.file(token.position.file).text;
    return QStringLiteral("'%1'").arg(text.mid(token.position.offset, token.length));
}
