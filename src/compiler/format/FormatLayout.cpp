#include "compiler/format/FormatLayout.h"

#include "compiler/format/FormatSpacing.h"

#include <algorithm>

namespace {
class Layouter
{
public:
    explicit Layouter(const std::vector<FormatToken> &tokens)
        : m_tokens(tokens)
    {}

    std::vector<LayoutLine> run()
    {
        m_blocks.push_back({});
        m_lines.push_back({});
        for (m_index = 0; m_index < static_cast<int>(m_tokens.size()); ++m_index) {
            place();
        }
        m_lines.erase(
            std::remove_if(m_lines.begin(), m_lines.end(), [](const LayoutLine &line) { return line.items.empty(); }),
            m_lines.end());
        return std::move(m_lines);
    }

private:
    struct Block
    {
        int level = 0;      // of its statements
        int outerLevel = 0; // of its closing brace
        bool isFlat = false;
        bool hasLabels = false;      // what follows a label stands deeper
        std::vector<int> ifLevels{}; // of those whose else may still come
    };
    enum class Break { None, Join, Keep, Make }; // Keep: where the source has one

    const FormatToken &at(int index) const { return m_tokens[static_cast<size_t>(index)]; }
    const FormatToken &token() const { return at(m_index); }
    Block &block() { return m_blocks.back(); }

    bool isOpeningBlock() const { return token().isBlock && token().is(TokenKind::LeftBrace); }
    bool isClosingBlock() const { return token().isBlock && token().is(TokenKind::RightBrace); }
    bool isElse() const { return token().startsStatement && token().isKeyword && token().isWord("else"); }

    Break wantedBreak()
    {
        if (!token().isInBlock || token().is(TokenKind::End)) {
            return Break::Keep;
        }
        if (isClosingBlock()) {
            return block().isFlat ? Break::None : Break::Make;
        }
        if (isOpeningBlock() && token().isJoined) {
            return token().isDefinitionBody && !token().isFlat ? Break::Make : Break::Join;
        }
        if (isElse() && token().isJoined) {
            return at(at(m_before).partner).isFlat ? Break::Keep : Break::Join;
        }
        if (token().startsStatement && !token().startsNested) {
            return block().isFlat ? Break::None : Break::Make;
        }
        return Break::Keep;
    }

    void place()
    {
        const Break wanted = wantedBreak();
        bool isForced = false;
        for (const SourceComment &comment : token().comments) {
            placeComment(comment, isForced || comment.lineEnds > 0);
            isForced = comment.endsLine;
        }
        if (dropsToken() || token().is(TokenKind::End)) {
            return;
        }
        const bool isJoined = wanted == Break::Join && token().comments.empty();
        const bool isMade = wanted == Break::Make && m_before >= 0 && !token().hasLineEndBefore();
        placeToken(!isJoined && (isForced || isMade || token().lineEnds > 0));
    }

    /// A line of its own or the next of the same statement.
    bool beginsLine() const
    {
        return token().isInBlock &&
               (token().startsStatement || token().isBlock || token().startsLine || token().is(TokenKind::End));
    }

    void placeComment(const SourceComment &comment, bool breaks)
    {
        const bool hasEmptyLine = comment.lineEnds > 1 && !m_isAtStart;
        m_isAtStart = m_isAtStart && !breaks;
        if (breaks && beginsLine()) {
            startLine(isClosingBlock() ? block().level : commentLevel(), hasEmptyLine);
        }
        append({ comment.text, -1, 1, breaks, hasEmptyLine, comment.endsLine, comment.isMultiLine, comment.column });
        m_hasComment = true;
    }

    void placeToken(bool breaks)
    {
        const bool hasEmptyLine = token().lineEnds > 1 && !m_isAtStart && !token().isBlock && !isElse();
        int closedLevel = 0;
        if (isClosingBlock()) {
            closedLevel = block().outerLevel;
            m_blocks.pop_back();
        } else if (token().startsStatement) {
            startStatement(breaks);
        }
        if (breaks && beginsLine()) {
            startLine(isClosingBlock()          ? closedLevel
                      : token().startsStatement ? m_statementLevel
                                                : m_tokenLevel,
                      hasEmptyLine);
        }
        const int blanks = m_before < 0 || m_hasComment ? 1 : blanksBefore(m_tokens, m_index, m_before);
        append({ token().text, m_index, blanks, breaks, hasEmptyLine, false, false, 0 });
        m_before = m_index;
        m_tokenLevel = m_lines.back().level;
        m_hasComment = false;
        m_isAtStart = isOpeningBlock();
        if (isOpeningBlock()) {
            m_blocks.push_back({ m_tokenLevel + 1, m_tokenLevel, token().isFlat, false, {} });
        } else if (token().isLabelColon) {
            block().hasLabels = true;
        }
    }

    /// How deep a statement stands: in place of a block one step, an else as its if.
    void startStatement(bool breaks)
    {
        std::vector<int> &ifs = block().ifLevels;
        m_statementLevel = plainLevel();
        if (isElse() && !ifs.empty()) {
            m_statementLevel = ifs.back();
            ifs.pop_back();
        } else if (isNested()) {
            m_statementLevel = m_tokenLevel + (breaks ? 1 : 0);
        } else if (!token().startsNested) {
            ifs.clear();
        }
        if (token().isKeyword && token().isWord("if")) {
            ifs.push_back(breaks || !token().startsNested ? m_statementLevel : m_tokenLevel);
        }
    }

    int plainLevel() { return block().level + (block().hasLabels && !token().startsLabel ? 1 : 0); }
    bool isNested() const { return token().startsNested && m_before >= 0 && !at(m_before).isLabelColon; }

    /// Of the comments before a token: they stand where it will.
    int commentLevel()
    {
        if (token().is(TokenKind::End)) {
            return 0;
        }
        if (!token().startsStatement) {
            return m_tokenLevel;
        }
        if (isElse() && !block().ifLevels.empty()) {
            return block().ifLevels.back();
        }
        return isNested() ? m_tokenLevel + 1 : plainLevel();
    }

    /// On one line a semicolon separates, unless a block stands before it.
    bool dropsToken()
    {
        if (!token().isDropped) {
            return false;
        }
        const FormatToken &next = at(m_index + 1);
        const bool separates = block().isFlat && !(next.isBlock && next.is(TokenKind::RightBrace)) && m_before >= 0 &&
                               !at(m_before).isBlock && !next.isDropped;
        return !separates;
    }

    void startLine(int level, bool hasEmptyLine)
    {
        m_lines.push_back({});
        m_lines.back().level = level;
        m_lines.back().hasEmptyLine = hasEmptyLine;
    }

    void append(LayoutItem item)
    {
        if (m_lines.back().items.empty()) {
            item.breaksBefore = false;
            item.hasEmptyLine = false;
        }
        m_lines.back().items.push_back(std::move(item));
    }

    const std::vector<FormatToken> &m_tokens;
    std::vector<LayoutLine> m_lines;
    std::vector<Block> m_blocks; // open ones, outermost first
    int m_index = 0;
    int m_before = -1;         // the token placed last
    int m_tokenLevel = 0;      // of its line
    int m_statementLevel = 0;  // of the statement being placed
    bool m_isAtStart = true;   // of the file or a block: no empty line stands there
    bool m_hasComment = false; // since the token placed last
};
} // namespace

std::vector<LayoutLine> layOut(const std::vector<FormatToken> &tokens)
{
    return Layouter(tokens).run();
}
