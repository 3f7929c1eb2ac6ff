#include "interp/code/VariableCode.h"

#include "interp/code/Operands.h"
#include "interp/code/PathCode.h"
#include "interp/nodes/Expressions.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

// Variables and the elements of arrays of numbers. The way to anything else that is stored is a PathCode.

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

VariableAccess findVariable(Preparer &preparer, const QString &text)
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
    preparer.noteGlobal(global);
    const auto kind = global->isNumber() ? VariableAccess::Kind::StaticNumber : VariableAccess::Kind::StaticObject;
    return { kind, 0, global->typeCode(), global, isArrayOfArrays(global) };
}

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

std::unique_ptr<Code> VarExpression::prepare(Preparer &preparer, Context) const
{
    return makeVariableCode(findVariable(preparer, name), name);
}

std::optional<VariableAccess> findNumberArray(Preparer &preparer, const Expression *node)
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
