#include "interp/VariableCode.h"

#include "interp/Expressions.h"
#include "interp/Operands.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

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
    BasicType *object(Run &run) const override { return m_object.get(run); }
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
        return numberIn(ValueView::of(array->place(at)));
    }
    ValueView view(Run &run, ValueRef &) const override
    {
        auto *array = static_cast<Array *>(m_base.get(run));
        const Number index = m_index.get(run);
        return array && index.ok ? ValueView::of(array->place(elementIndex(index.value))) : ValueView{};
    }
    Place place(Run &run) const override
    {
        auto *array = static_cast<Array *>(m_base.get(run));
        const Number index = m_index.get(run);
        return array && index.ok ? array->place(elementIndex(index.value)) : Place{};
    }
    bool isNeverArray() const override { return true; }

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

    Number number(Run &run) const override { return numberIn(ValueView::of(place(run))); }
    ValueView view(Run &run, ValueRef &) const override { return ValueView::of(place(run)); }
    Place place(Run &run) const override
    {
        const Number index = m_index ? m_index->number(run) : Number{};
        if (!index.ok) {
            return {};
        }
        Array *array = asArray(m_base->object(run));
        return array ? array->place(elementIndex(index.value)) : Place{};
    }
    BasicType *object(Run &run) const override
    {
        const Number index = m_index ? m_index->number(run) : Number{};
        Array *array = index.ok ? asArray(m_base->object(run)) : nullptr;
        return array ? array->elementObject(elementIndex(index.value)) : nullptr;
    }

private:
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
        const BasicType *member = find(run);
        if (const Double *number = asDouble(member)) {
            return { number->value(), true };
        }
        return numberIn(ValueView::of(member));
    }
    ValueView view(Run &run, ValueRef &) const override { return ValueView::of(find(run)); }
    Place place(Run &run) const override { return { find(run), nullptr, 0, nullptr, 0 }; }
    BasicType *object(Run &run) const override { return find(run); }

private:
    BasicType *find(Run &run) const
    {
        StructType *structure = asStruct(m_base->object(run));
        return structure ? structure->member(m_member, m_hint) : nullptr;
    }

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

std::unique_ptr<Code> VarExpression::prepare(Preparer &preparer, Context) const
{
    const VariableAccess variable = findVariable(preparer, name);
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

ArrayBase prepareArrayBase(Preparer &preparer, const std::unique_ptr<Expression> &node)
{
    ArrayBase base;
    if (const auto *variable = dynamic_cast<const VarExpression *>(node.get())) {
        base.variable = findVariable(preparer, variable->name);
        const bool isStatic = base.variable.kind == VariableAccess::Kind::StaticObject && asArray(base.variable.object);
        const bool isLocal = base.variable.kind == VariableAccess::Kind::LocalObject;
        base.hasNumberElements = (isStatic || (isLocal && base.variable.typeCode != 0)) &&
                                 isNumericType(base.variable.typeCode) && !base.variable.isMatrix;
    }
    base.code = preparer.expression(node);
    return base;
}

std::unique_ptr<Code> ArrayExpression::prepare(Preparer &preparer, Context) const
{
    ArrayBase array = prepareArrayBase(preparer, base);
    std::unique_ptr<Code> indexCode = preparer.expression(index);
    if (!array.code) {
        return std::make_unique<UnknownVariableCode>(QString());
    }
    if (array.hasNumberElements && indexCode) {
        return array.variable.kind == VariableAccess::Kind::StaticObject
                   ? makeNumberElement(StaticObject{ array.variable.object }, std::move(indexCode))
                   : makeNumberElement(LocalObject{ array.variable.slot }, std::move(indexCode));
    }
    return std::make_unique<ElementCode>(std::move(array.code), std::move(indexCode));
}

std::unique_ptr<Code> StructExpression::prepare(Preparer &preparer, Context) const
{
    std::unique_ptr<Code> baseCode = preparer.expression(base);
    if (!baseCode) {
        return std::make_unique<UnknownVariableCode>(QString());
    }
    return std::make_unique<MemberCode>(std::move(baseCode), Name(memberName));
}
