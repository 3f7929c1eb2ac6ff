#pragma once
#include "compiler/format/FormatLayout.h"

/// A line of the result, in parts, so that neighbours can be aligned.
struct FormattedLine
{
    enum class Anchor { None, Assignment, Block };

    int column = 0; // where it begins
    bool hasEmptyLine = false;
    QString code;
    QString comment;       // at its end, or all of it; may go on over further lines
    int commentColumn = 0; // in the source, as its last line sees it
    Anchor anchor = Anchor::None;
    int anchorAt = 0;         // in code
    bool isSpaced = false;    // the source has more than one blank before the anchor
    bool isStatement = false; // whole: it neither goes on nor goes on from another
};

constexpr int kLongestLine = 120;

/// Cuts a line of the layout where it is broken, and where it is too long. Behind a bracket what goes on is aligned
/// with what stands there.
/// \param isTooLong  set when a line cannot be made short enough
std::vector<FormattedLine> linesOf(const LayoutLine &line, const std::vector<FormatToken> &tokens, bool &isTooLong);

/// Neighbours: comments at line ends stand below each other; so do = and { where the source has aligned them.
void align(std::vector<FormattedLine> &lines);

QString textOf(const std::vector<FormattedLine> &lines);
