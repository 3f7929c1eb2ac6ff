#include "interp/code/PathCode.h"

#include "interp/nodes/Expressions.h"
#include "model/Values.h"
#include "program/AST.h"

#include <algorithm>

namespace {
/// An element of anything.
class ElementCode : public Code
{
public:
    ElementCode(std::unique_ptr<Code> base, std::unique_ptr<Code> index)
        : m_base(std::move(base))
        , m_index(std::move(index))
    {}

    Number number(Run &run) const override { return numberIn(seen(run)); }
    ValueView view(Run &run, ValueRef &) const override { return seen(run); }
    Place place(Run &run) const override
    {
        const int at = index(run);
        Array *array = asArray(m_base->object(run));
        return array ? array->place(at) : Place{};
    }
    BasicType *object(Run &run) const override
    {
        const int at = index(run);
        Array *array = asArray(m_base->object(run));
        return array ? array->elementObject(at) : nullptr;
    }
    BasicType *variable(Run &run) const override { return m_base->variable(run); }
    bool isQuiet() const override { return !m_index || m_index->isQuiet(); }

private:
    int index(Run &run) const
    {
        const Number number = m_index ? m_index->number(run) : Number{};
        return number.ok ? elementIndex(number.value) : 0;
    }
    ValueView seen(Run &run) const
    {
        const int at = index(run);
        const Array *array = asArray(m_base->object(run));
        return array ? array->view(at) : ValueView{};
    }

    std::unique_ptr<Code> m_base;
    std::unique_ptr<Code> m_index;
};

class MemberCode : public Code
{
public:
    MemberCode(std::unique_ptr<Code> base, Name member)
        : m_base(std::move(base))
        , m_member(member)
    {}

    Number number(Run &run) const override
    {
        const BasicType *member = object(run);
        if (const Double *number = asDouble(member)) {
            return { number->value(), true };
        }
        return numberIn(ValueView::of(member));
    }
    ValueView view(Run &run, ValueRef &) const override { return ValueView::of(object(run)); }
    Place place(Run &run) const override { return { object(run), nullptr, 0, nullptr, 0 }; }
    BasicType *object(Run &run) const override
    {
        const StructType *structure = asStruct(m_base->object(run));
        return structure ? structure->member(m_member, m_hint) : nullptr;
    }
    bool isQuiet() const override { return m_base->isQuiet(); }

private:
    std::unique_ptr<Code> m_base;
    Name m_member;
    mutable size_t m_hint = 0; // where the member stood last time; only speed depends on it
};
} // namespace

PathCode::PathCode(Preparer &preparer, const Expression &node)
{
    const Expression *at = &node;
    while (at) {
        if (const auto *element = as<ArrayExpression>(at)) {
            Part part;
            part.isIndex = true;
            part.index = preparer.expression(element->index);
            part.leaf = part.index ? part.index->leaf() : Leaf{};
            m_parts.insert(m_parts.begin(), std::move(part));
            at = element->base.get();
        } else if (const auto *member = as<StructExpression>(at)) {
            Part part;
            part.member = Name(member->memberName);
            m_isElement = false;
            m_parts.insert(m_parts.begin(), std::move(part));
            at = member->base.get();
        } else if (const auto *device = as<DeviceExpr>(at)) {
            at = device->variable.get();
        } else {
            if (const auto *variable = as<VarExpression>(at)) {
                m_root = findVariable(preparer, variable->name);
            }
            break;
        }
    }
}

bool PathCode::evaluate(Run &run, Indexes &indexes) const
{
    for (const Part &part : m_parts) {
        if (!part.isIndex) {
            continue;
        }
        Number index;
        switch (part.leaf.kind) {
        case Leaf::Kind::Constant:
            index = { part.leaf.constant, true };
            break;
        case Leaf::Kind::Local:
            index = { run.frame[part.leaf.slot].number, true };
            break;
        case Leaf::Kind::Static:
            index = { *part.leaf.storage, true };
            break;
        case Leaf::Kind::None:
            index = part.index ? part.index->number(run) : Number{};
            break;
        }
        if (!index.ok) {
            return false;
        }
        indexes.append(elementIndex(index.value));
    }
    return true;
}

BasicType *PathCode::root(Run &run) const
{
    switch (m_root.kind) {
    case VariableAccess::Kind::LocalObject:
        return run.frame[m_root.slot].object;
    case VariableAccess::Kind::StaticObject:
        return m_root.object;
    case VariableAccess::Kind::Unknown:
    case VariableAccess::Kind::LocalNumber:
    case VariableAccess::Kind::StaticNumber:
        break;
    }
    return nullptr; // a number has no parts
}

BasicType *PathCode::memberOf(BasicType *holder, const Part &part)
{
    const StructType *structure = asStruct(holder);
    return structure ? structure->member(part.member, part.hint) : nullptr;
}

BasicType *PathCode::holder(Run &run, const Indexes &indexes) const
{
    BasicType *at = root(run);
    const int *index = indexes.constData();
    for (size_t i = 0; at && i + 1 < m_parts.size(); ++i) {
        if (m_parts[i].isIndex) {
            Array *array = asArray(at);
            at = array ? array->elementObject(*index) : nullptr;
            ++index;
        } else {
            at = memberOf(at, m_parts[i]);
        }
    }
    return at;
}

Place PathCode::walk(Run &run, const Indexes &indexes) const
{
    BasicType *from = holder(run, indexes);
    if (endsWithMember()) {
        return { memberOf(from, m_parts.back()), nullptr, 0, nullptr, 0 };
    }
    Array *array = asArray(from);
    return array ? array->place(indexes.back()) : Place{};
}

Number PathCode::number(Run &run) const
{
    Indexes indexes;
    if (!evaluate(run, indexes)) {
        return {};
    }
    BasicType *from = holder(run, indexes);
    if (endsWithMember()) {
        return numberIn(ValueView::of(memberOf(from, m_parts.back())));
    }
    const Array *array = asArray(from);
    double value = 0;
    if (array && array->packedNumber(indexes.back(), value)) {
        return { value, true };
    }
    return array ? numberIn(array->view(indexes.back())) : Number{};
}

ValueView PathCode::view(Run &run, ValueRef &) const
{
    Indexes indexes;
    if (!evaluate(run, indexes)) {
        return {};
    }
    BasicType *from = holder(run, indexes);
    if (endsWithMember()) {
        return ValueView::of(memberOf(from, m_parts.back()));
    }
    const Array *array = asArray(from);
    return array ? array->view(indexes.back()) : ValueView{};
}

Place PathCode::place(Run &run) const
{
    Indexes indexes;
    return evaluate(run, indexes) ? walk(run, indexes) : Place{};
}

/// Elements are stored with their array; a change of a member alone is not stored.
BasicType *PathCode::variable(Run &run) const
{
    return m_isElement ? root(run) : nullptr;
}

bool PathCode::isQuiet() const
{
    return std::all_of(m_parts.begin(), m_parts.end(),
                       [](const Part &part) { return !part.index || part.index->isQuiet(); });
}

bool PathCode::isSimple() const
{
    const auto isIndex = [](const Part &part) { return part.isIndex; };
    const auto isComputed = [](const Part &part) { return part.isIndex && part.leaf.kind == Leaf::Kind::None; };
    const auto computed = std::count_if(m_parts.begin(), m_parts.end(), isComputed);
    return std::count_if(m_parts.begin(), m_parts.end(), isIndex) <= 1 || computed == 0 || (computed == 1 && isQuiet());
}

std::unique_ptr<Code> PathCode::simplified(std::unique_ptr<PathCode> path)
{
    if (!path->isSimple()) {
        return path;
    }
    std::unique_ptr<Code> code = makeVariableCode(path->m_root, QString());
    for (Part &part : path->m_parts) {
        if (part.isIndex) {
            code = std::make_unique<ElementCode>(std::move(code), std::move(part.index));
        } else {
            code = std::make_unique<MemberCode>(std::move(code), part.member);
        }
    }
    return code;
}

std::unique_ptr<Code> StructExpression::prepare(Preparer &preparer, Context) const
{
    return PathCode::simplified(std::make_unique<PathCode>(preparer, *this));
}
