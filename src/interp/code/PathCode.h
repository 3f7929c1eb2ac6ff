#pragma once
#include "interp/code/VariableCode.h"

#include <QVarLengthArray>

#include <vector>

/// The way from a variable to an element or a member of it, such as s[i].levels[j].
/// The indexes are evaluated first, from left to right. Walking the way then runs no code of the program, so nothing
/// that an index (or the value of an assignment, which comes between the two) does can pull a step of it away.
class PathCode : public Code
{
public:
    using Indexes = QVarLengthArray<int, 4>;

    PathCode(Preparer &preparer, const Expression &node);

    bool evaluate(Run &run, Indexes &indexes) const; // false: an index is no number; those behind it are left alone
    Place walk(Run &run, const Indexes &indexes) const;
    bool endsWithMember() const { return !m_parts.back().isIndex; }

    /// Quicker code for a way on which no order can be told: of its indexes at most one does more than name a number.
    static std::unique_ptr<Code> simplified(std::unique_ptr<PathCode> path);

    Number number(Run &run) const override;
    ValueView view(Run &run, ValueRef &hold) const override;
    Place place(Run &run) const override;
    BasicType *variable(Run &run) const override;
    bool isQuiet() const override;

private:
    struct Part
    {
        bool isIndex = false;
        std::unique_ptr<Code> index{};
        Leaf leaf{}; // of the index
        Name member{};
        mutable size_t hint = 0; // where the member stood last time; only speed depends on it
    };
    bool isSimple() const;
    BasicType *root(Run &run) const;
    BasicType *holder(Run &run, const Indexes &indexes) const; // what the last part is taken from
    static BasicType *memberOf(BasicType *holder, const Part &part);

    VariableAccess m_root{};
    std::vector<Part> m_parts; // at least one
    bool m_isElement = true;   // no member is on the way
};
