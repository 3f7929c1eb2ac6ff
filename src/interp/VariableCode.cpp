#include "interp/VariableCode.h"

#include "interp/Expressions.h"
#include "interp/Operands.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

#include <algorithm>

// Variables, elements and members: what is stored.

namespace {
class LocalNumberCode : public Code
{
public:
    LocalNumberCode(int slot, int typeCode)
        : m_slot(slot)
        , m_typeCode(typeCode)
    {}
    Number number(Run &run) const override { return { run.frame[m_slot].number, true }; }
    ValueView view(Run &run, ValueRef &) const override
    {
        return ValueView::ofNumber(run.frame[m_slot].number, m_typeCode);
    }
    Place place(Run &run) const override { return { nullptr, nullptr, 0, &run.frame[m_slot].number, m_typeCode }; }
    Leaf leaf() const override { return { Leaf::Kind::Local, 0, m_slot, m_typeCode, nullptr }; }
    bool isNeverArray() const override { return true; }
    bool isQuiet() const override { return true; }

private:
    int m_slot;
    int m_typeCode;
};

class StaticNumberCode : public Code
{
public:
    explicit StaticNumberCode(Double *variable)
        : m_variable(variable)
    {}
    Number number(Run &) const override { return { m_variable->value(), true }; }
    ValueView view(Run &, ValueRef &) const override { return ValueView::of(m_variable); }
    Place place(Run &) const override { return { m_variable, nullptr, 0, nullptr, 0 }; }
    BasicType *variable(Run &) const override { return m_variable; }
    Leaf leaf() const override { return { Leaf::Kind::Static, 0, 0, m_variable->typeCode(), m_variable->storage() }; }
    bool isNeverArray() const override { return true; }
    bool isQuiet() const override { return true; }

private:
    Double *m_variable;
};

Number numberIn(const ValueView &value)
{
    Number number;
    number.ok = numberOf(value, number.value);
    return number;
}

template <class Object>
class ObjectCode : public Code
{
public:
    ObjectCode(Object object, const QString &name)
        : m_object(object)
        , m_name(name)
    {}
    Number number(Run &run) const override { return numberIn(ValueView::of(m_object.get(run))); }
    ValueView view(Run &run, ValueRef &) const override
    {
        const ValueView seen = ValueView::of(m_object.get(run));
        if (seen.isNone()) {
            run.error(QT_TRANSLATE_NOOP("messages", "Failed to find variable %1"), m_name);
        }
        return seen;
    }
    Place place(Run &run) const override { return { m_object.get(run), nullptr, 0, nullptr, 0 }; }
    BasicType *variable(Run &run) const override { return m_object.get(run); }
    bool isQuiet() const override { return true; }

private:
    Object m_object;
    QString m_name; // as written
};

class UnknownVariableCode : public Code
{
public:
    explicit UnknownVariableCode(const QString &name)
        : m_name(name)
    {}
    Number number(Run &) const override { return {}; }
    ValueView view(Run &run, ValueRef &) const override
    {
        if (!m_name.isEmpty()) {
            run.error(QT_TRANSLATE_NOOP("messages", "Failed to find variable %1"), m_name);
        }
        return {};
    }

private:
    QString m_name;
};

/// An element of an array of numbers.
template <class Base, class Index>
class NumberElementCode : public Code
{
public:
    NumberElementCode(Base base, Index index)
        : m_base(std::move(base))
        , m_index(std::move(index))
    {}

    Number number(Run &run) const override
    {
        auto *array = static_cast<Array *>(m_base.get(run));
        const Number index = m_index.get(run);
        if (!array || !index.ok) {
            return {};
        }
        const int at = elementIndex(index.value);
        double value = 0;
        if (array->packedNumber(at, value)) {
            return { value, true };
        }
        return numberIn(array->view(at));
    }
    ValueView view(Run &run, ValueRef &) const override
    {
        const auto *array = static_cast<const Array *>(m_base.get(run));
        const Number index = m_index.get(run);
        return array && index.ok ? array->view(elementIndex(index.value)) : ValueView{};
    }
    Place place(Run &run) const override
    {
        auto *array = static_cast<Array *>(m_base.get(run));
        const Number index = m_index.get(run);
        return array && index.ok ? array->place(elementIndex(index.value)) : Place{};
    }
    BasicType *variable(Run &run) const override { return m_base.get(run); }
    bool isNeverArray() const override { return true; }
    bool isQuiet() const override { return isQuietOperand(m_index); }

private:
    Base m_base;
    Index m_index;
};

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

bool isArrayOfArrays(const BasicType *object)
{
    const Array *array = asArray(object);
    return array && array->firstIsArray();
}

template <class Base>
std::unique_ptr<Code> makeNumberElement(Base base, std::unique_ptr<Code> index)
{
    return withOperand(std::move(index), [&base](auto operand) -> std::unique_ptr<Code> {
        return std::make_unique<NumberElementCode<Base, decltype(operand)>>(std::move(base), std::move(operand));
    });
}
} // namespace

VariableAccess findVariable(const Preparer &preparer, const QString &text)
{
    const Name name(text);
    if (const LocalVariable *local = preparer.findLocal(name)) {
        switch (local->kind) {
        case LocalVariable::Kind::Number:
            return { VariableAccess::Kind::LocalNumber, local->slot, local->typeCode, nullptr, false };
        case LocalVariable::Kind::Object:
            return { VariableAccess::Kind::LocalObject, local->slot, local->typeCode, nullptr, local->isMatrix };
        case LocalVariable::Kind::KeptNumber:
            return { VariableAccess::Kind::StaticNumber, 0, local->typeCode, local->kept, false };
        case LocalVariable::Kind::KeptObject:
            return { VariableAccess::Kind::StaticObject, 0, local->typeCode, local->kept,
                     isArrayOfArrays(local->kept) };
        }
    }
    BasicType *global = preparer.program().findGlobal(name);
    if (!global) {
        return {};
    }
    const auto kind = global->isNumber() ? VariableAccess::Kind::StaticNumber : VariableAccess::Kind::StaticObject;
    return { kind, 0, global->typeCode(), global, isArrayOfArrays(global) };
}

namespace {
std::unique_ptr<Code> makeVariableCode(const VariableAccess &variable, const QString &name)
{
    switch (variable.kind) {
    case VariableAccess::Kind::LocalNumber:
        return std::make_unique<LocalNumberCode>(variable.slot, variable.typeCode);
    case VariableAccess::Kind::StaticNumber:
        return std::make_unique<StaticNumberCode>(static_cast<Double *>(variable.object));
    case VariableAccess::Kind::LocalObject:
        return std::make_unique<ObjectCode<LocalObject>>(LocalObject{ variable.slot }, name);
    case VariableAccess::Kind::StaticObject:
        return std::make_unique<ObjectCode<StaticObject>>(StaticObject{ variable.object }, name);
    case VariableAccess::Kind::Unknown:
        break;
    }
    return std::make_unique<UnknownVariableCode>(name);
}
} // namespace

std::unique_ptr<Code> VarExpression::prepare(Preparer &preparer, Context) const
{
    return makeVariableCode(findVariable(preparer, name), name);
}

std::optional<VariableAccess> findNumberArray(const Preparer &preparer, const Expression *node)
{
    const auto *name = as<VarExpression>(node);
    if (!name) {
        return std::nullopt;
    }
    const VariableAccess variable = findVariable(preparer, name->name);
    const bool isStatic = variable.kind == VariableAccess::Kind::StaticObject && asArray(variable.object);
    const bool isLocal = variable.kind == VariableAccess::Kind::LocalObject && variable.typeCode != 0;
    const bool hasNumbers = (isStatic || isLocal) && isNumericType(variable.typeCode) && !variable.isMatrix;
    return hasNumbers ? std::optional(variable) : std::nullopt;
}

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

std::unique_ptr<Code> ArrayExpression::prepare(Preparer &preparer, Context) const
{
    const std::optional<VariableAccess> array = findNumberArray(preparer, base.get());
    if (!array || !index) {
        return PathCode::simplified(std::make_unique<PathCode>(preparer, *this));
    }
    return array->kind == VariableAccess::Kind::StaticObject
               ? makeNumberElement(StaticObject{ array->object }, preparer.expression(index))
               : makeNumberElement(LocalObject{ array->slot }, preparer.expression(index));
}

std::unique_ptr<Code> StructExpression::prepare(Preparer &preparer, Context) const
{
    return PathCode::simplified(std::make_unique<PathCode>(preparer, *this));
}
