#include "compiler/format/FormatStructure.h"

#include "compiler/lexing/Words.h"

#include <algorithm>

namespace {
/// Behind these a value is expected, so a brace begins a list.
bool expectsValue(TokenKind kind)
{
    return (kind >= TokenKind::Assign && kind <= TokenKind::Percent) ||
           (kind >= TokenKind::PlusAssign && kind <= TokenKind::Not) || kind == TokenKind::Comma ||
           kind == TokenKind::Range || kind == TokenKind::Dot;
}

bool isOperatorWord(const FormatToken &token)
{
    return !token.is(TokenKind::Name) && token.text.at(0).isLetter();
}

/// Behind these a statement can be complete.
bool canEndStatement(const FormatToken &token)
{
    switch (token.kind) {
    case TokenKind::Name:
    case TokenKind::Number:
    case TokenKind::Text:
    case TokenKind::Quote:
    case TokenKind::RightParen:
    case TokenKind::RightBracket:
    case TokenKind::RightBrace:
    case TokenKind::PlusPlus:
    case TokenKind::MinusMinus:
        return true;
    default:
        return false;
    }
}

class Annotator
{
public:
    Annotator(std::vector<FormatToken> &tokens, Sources &sources)
        : m_tokens(tokens)
        , m_sources(sources)
    {}

    bool run()
    {
        m_frames.push_back({ -1, Kind::TopLevel });
        for (int i = 0; !at(i).is(TokenKind::End); ++i) {
            m_index = i;
            if (!readToken()) {
                return false;
            }
        }
        if (m_frames.size() > 1) {
            const FormatToken &open = at(m_frames.back().open);
            return refuse(open, QStringLiteral("this '%1' is not closed").arg(open.text));
        }
        findFlatBlocks();
        return true;
    }

private:
    static constexpr size_t kDeepest = 500; // beyond, the indentation would be most of the text
    enum class Kind { TopLevel, Block, Structure, Paren, Bracket, List, Quote };
    enum class Next { Goes, Statement, Nested }; // what the next token of a block is

    struct Frame
    {
        int open;
        Kind kind;
        int head = -1; // the first token of the statement being read
        Next next = Next::Statement;
        int memberWords = 0; // of a structure: names read of the current member

        bool isBlock() const { return kind <= Kind::Structure; }
    };

    FormatToken &at(int index) { return m_tokens[static_cast<size_t>(index)]; }
    FormatToken &current() { return at(m_index); }
    Frame &frame() { return m_frames.back(); }
    const FormatToken *previous() { return m_index > 0 ? &at(m_index - 1) : nullptr; }
    bool previousIs(TokenKind kind) { return m_index > 0 && at(m_index - 1).is(kind); }

    bool refuse(const FormatToken &token, const QString &message)
    {
        m_sources.report(Fault::UnclosedBracket, token.position, message);
        return false;
    }

    bool readToken()
    {
        FormatToken &token = current();
        const bool isClosingQuote = token.is(TokenKind::Quote) && frame().kind == Kind::Quote;
        const bool isClosing = isClosingQuote || token.is(TokenKind::RightParen) || token.is(TokenKind::RightBracket) ||
                               token.is(TokenKind::RightBrace);
        if (isClosing) {
            return close();
        }
        token.isInBlock = frame().isBlock();
        if (token.isInBlock) {
            readInBlock();
        } else {
            token.isKeyword = token.is(TokenKind::Name) && !previousIs(TokenKind::Dot) && isReservedWord(token.text);
        }
        if (token.isKeyword || (isOperatorWord(token) && !previousIs(TokenKind::Dot))) {
            token.text = token.text.toLower();
        }
        open();
        return m_frames.size() <= kDeepest || refuse(token, QStringLiteral("brackets are nested too deeply here"));
    }

    void open()
    {
        switch (current().kind) {
        case TokenKind::LeftParen:
            m_frames.push_back({ m_index, Kind::Paren });
            break;
        case TokenKind::LeftBracket:
            m_frames.push_back({ m_index, Kind::Bracket });
            break;
        case TokenKind::Quote:
            m_frames.push_back({ m_index, Kind::Quote });
            break;
        case TokenKind::LeftBrace: {
            const int head = frame().head;
            const bool isStructure = current().isBlock && head >= 0 && at(head).isWord("struct");
            m_frames.push_back({ m_index, isStructure         ? Kind::Structure
                                          : current().isBlock ? Kind::Block
                                                              : Kind::List });
            break;
        }
        default:
            break;
        }
    }

    bool close()
    {
        FormatToken &token = current();
        const Frame inner = frame();
        const bool fits = (token.is(TokenKind::RightParen) && inner.kind == Kind::Paren) ||
                          (token.is(TokenKind::RightBracket) && inner.kind == Kind::Bracket) ||
                          (token.is(TokenKind::Quote) && inner.kind == Kind::Quote) ||
                          (token.is(TokenKind::RightBrace) &&
                           (inner.kind == Kind::Block || inner.kind == Kind::Structure || inner.kind == Kind::List));
        if (!fits) {
            return refuse(
                inner.open < 0 ? token : at(inner.open),
                inner.open < 0
                    ? QStringLiteral("this '%1' closes nothing").arg(token.text)
                    : QStringLiteral("this '%1' is not closed before '%2'").arg(at(inner.open).text, token.text));
        }
        m_frames.pop_back();
        token.partner = inner.open;
        at(inner.open).partner = m_index;
        token.isBlock = at(inner.open).isBlock;
        token.isInBlock = token.isBlock;
        if (token.isBlock) {
            frame().next = Next::Statement;
            frame().head = -1;
        } else if (frame().isBlock() && closesCondition(inner.open)) {
            frame().next = Next::Nested;
        }
        return true;
    }

    /// Whether a parenthesis holds the condition of an if or a loop, behind which a statement stands.
    bool closesCondition(int open)
    {
        const int head = frame().head;
        return head >= 0 && open == head + 1 && at(open).is(TokenKind::LeftParen) && at(head).isWord(Word::HasTest);
    }

    void readInBlock()
    {
        FormatToken &token = current();
        if (token.is(TokenKind::Semicolon)) {
            readSemicolon();
            return;
        }
        if (token.is(TokenKind::LeftBrace)) {
            readBrace();
            frame().next = Next::Goes;
            return;
        }
        if (token.is(TokenKind::Colon) && endsLabel()) {
            frame().head = -1;
            frame().next = Next::Nested;
            return;
        }
        if (frame().next != Next::Goes || token.startsLine || startsMember() || followsList()) {
            startStatement();
        }
        frame().next = Next::Goes;
        frame().memberWords += token.is(TokenKind::Name) ? 1 : 0;
        token.isKeyword = isKeywordHere();
        if (token.isWord("else") && frame().head == m_index) {
            token.isJoined = followsBlock();
            frame().next = Next::Nested;
        }
    }

    void startStatement()
    {
        current().startsStatement = true;
        current().startsNested = frame().next == Next::Nested;
        frame().head = m_index;
        frame().memberWords = 0;
    }

    /// Members of a structure need nothing between them: int a  int b[2]  int c
    bool startsMember()
    {
        return frame().kind == Kind::Structure && current().is(TokenKind::Name) && frame().memberWords >= 2 &&
               (previousIs(TokenKind::Name) || previousIs(TokenKind::RightBracket));
    }

    /// Also when a semicolon between says nothing.
    bool followsBlock()
    {
        int before = m_index - 1;
        while (before >= 0 && at(before).isDropped) {
            --before;
        }
        return before >= 0 && at(before).is(TokenKind::RightBrace) && at(before).isBlock;
    }

    /// The brace of a list ends a statement as that of a block does.
    bool followsList()
    {
        return frame().kind == Kind::Block && previousIs(TokenKind::RightBrace) &&
               (current().is(TokenKind::Name) || current().is(TokenKind::LeftBracket));
    }

    bool isKeywordHere()
    {
        const FormatToken &token = current();
        const FormatToken &next = at(m_index + 1);
        if (!token.is(TokenKind::Name) || previousIs(TokenKind::Dot)) {
            return false;
        }
        const bool isHead = frame().head == m_index;
        if (frame().kind == Kind::Structure) { // the names of members may be words of the language
            return isHead && isReservedWord(token.text);
        }
        if (isReservedWord(token.text) || (isWord(token.text, Word::Switches) && next.is(TokenKind::LeftBracket))) {
            return true;
        }
        if (frame().kind == Kind::TopLevel && isHead) {
            const Word *const word = findWord(token.text);
            return word && (word->uses & Word::Declares) != 0 && next.is(word->token);
        }
        return token.isWord("capture") && next.is(TokenKind::LeftParen) && m_index > frame().head + 1 &&
               at(frame().head).isWord("wait");
    }

    /// Whether the colon ends a label: case 1: active (x): push: hold [3, repeat]:
    bool endsLabel()
    {
        const int head = frame().head;
        if (head < 0 || frame().kind != Kind::Block || current().startsLine) {
            return false;
        }
        FormatToken &word = at(head);
        const bool isPlain = word.isWord(Word::Label);
        const bool isHold =
            word.isWord("hold") && at(head + 1).is(TokenKind::LeftBracket) && at(head + 1).partner == m_index - 1;
        if (!(isPlain && head == m_index - 1) && !isHold && !word.isWord(Word::ValueLabel)) {
            return false;
        }
        current().isLabelColon = true;
        word.startsLabel = true;
        word.isKeyword = true;
        word.text = word.text.toLower();
        for (int i = head + 1; isHold && i < m_index; ++i) {
            if (at(i).isWord("repeat") && at(i - 1).is(TokenKind::Comma)) {
                at(i).text = at(i).text.toLower();
            }
        }
        return true;
    }

    /// A semicolon at a line end, or behind a block, says nothing. Where it may stand for a missing statement, and so
    /// be an error, it stays.
    void readSemicolon()
    {
        FormatToken &token = current();
        const bool mayBeFirstOfTwo = !previousIs(TokenKind::Semicolon) || !leadsToElse();
        const bool isEmptyStatement =
            frame().next == Next::Statement && !token.startsLine && previous() != nullptr && mayBeFirstOfTwo;
        const bool endsStatement = frame().next == Next::Goes && frame().head >= 0 && previous() != nullptr &&
                                   canEndStatement(*previous()) && !token.startsLine && !isHalf() &&
                                   !isBlockHead(at(frame().head)) && !at(frame().head).isWord("include");
        token.isDropped = (isEmptyStatement || endsStatement) && !leadsOn();
        if (!token.isDropped) {
            token.startsStatement = token.startsLine;
        }
        frame().next = Next::Statement;
        frame().head = -1;
    }

    /// Whether else follows, at most behind more semicolons: one may stand before it, not two.
    bool leadsToElse()
    {
        int next = m_index + 1;
        while (at(next).is(TokenKind::Semicolon)) {
            ++next;
        }
        return at(next).isWord("else");
    }

    /// Whether what follows can only go on with what stands before: integer n; = 5
    bool leadsOn()
    {
        int next = m_index + 1;
        while (at(next).is(TokenKind::Semicolon)) {
            ++next;
        }
        const FormatToken &token = at(next);
        const bool isInside = frame().kind != Kind::TopLevel;
        return !token.is(TokenKind::Name) && !token.is(TokenKind::End) && !token.is(TokenKind::RightBrace) &&
               !(isInside && (token.is(TokenKind::LeftBracket) || token.is(TokenKind::LeftBrace) ||
                              token.is(TokenKind::PlusPlus) || token.is(TokenKind::MinusMinus)));
    }

    /// Whether the statement lacks something that could stand on the next line: integer; x   call; Show()   ++; x
    bool isHalf()
    {
        const FormatToken &last = *previous();
        const bool isAlone = frame().head == m_index - 1;
        if (last.is(TokenKind::PlusPlus) || last.is(TokenKind::MinusMinus)) {
            return isAlone;
        }
        const bool isTypeOfConstant =
            frame().kind == Kind::TopLevel && last.is(TokenKind::Name) && frame().head == m_index - 2 &&
            (at(frame().head).isWord("const") || codeOfWord(at(frame().head).text, Word::Storage) >= 0);
        return isTypeOfConstant || (isAlone && (frame().kind == Kind::TopLevel || isWord(last.text, Word::Switches))) ||
               (last.isKeyword && !last.isWord(Word::Complete));
    }

    void readBrace()
    {
        FormatToken &token = current();
        const bool isReturned = previous() && previous()->isKeyword && previous()->isWord("return");
        if (frame().next == Next::Goes && previous() &&
            (expectsValue(previous()->kind) || (isReturned && !token.startsLine))) {
            return; // a list
        }
        token.isBlock = true;
        token.isDefinitionBody = frame().next == Next::Goes && frame().kind == Kind::TopLevel && beginsDefinition();
        token.isJoined =
            frame().next == Next::Nested || token.isDefinitionBody || (frame().next == Next::Goes && endsHead());
        if (!token.isJoined && (frame().next == Next::Statement || token.startsLine)) {
            token.startsStatement = true;
        }
    }

    bool beginsDefinition() { return frame().head >= 0 && at(frame().head).isWord(Word::HasBody); }

    /// Whether a block, or a statement in its place, has to follow.
    static bool isBlockHead(const FormatToken &word) { return word.isWord(Word::HasBody | Word::Nests); }

    /// Whether the head of a switch, select or wait is complete before the current token, beyond doubt.
    bool endsHead()
    {
        const int head = frame().head;
        if (head < 0) {
            return false;
        }
        const FormatToken &word = at(head);
        const int before = m_index - 1;
        if (word.isWord("select")) {
            return before == head;
        }
        if (word.isWord("switch")) {
            return at(head + 1).is(TokenKind::LeftParen) && at(head + 1).partner == before;
        }
        if (!word.isWord("wait")) {
            return false;
        }
        const bool isShort = before == head + 1 || (before == head + 2 && at(before).is(TokenKind::Text));
        const int open = at(before).is(TokenKind::RightParen) ? at(before).partner : -1;
        return isShort || (open > head + 2 && at(open - 1).isKeyword && at(open - 1).isWord("capture"));
    }

    /// A block that was written on one line may stay there.
    void findFlatBlocks()
    {
        std::vector<int> lineEnds(m_tokens.size() + 1);
        for (size_t i = 0; i < m_tokens.size(); ++i) {
            lineEnds[i + 1] = lineEnds[i] + (m_tokens[i].hasLineEndBefore() ? 1 : 0);
        }
        for (size_t i = 0; i < m_tokens.size(); ++i) {
            FormatToken &token = m_tokens[i];
            if (token.isBlock && token.is(TokenKind::LeftBrace)) {
                token.isFlat = lineEnds[i + 1] == lineEnds[static_cast<size_t>(token.partner) + 1];
            }
        }
    }

    std::vector<FormatToken> &m_tokens;
    Sources &m_sources;
    std::vector<Frame> m_frames;
    int m_index = 0;
};
} // namespace

bool annotate(std::vector<FormatToken> &tokens, Sources &sources)
{
    return Annotator(tokens, sources).run();
}
