#include "interp/steps/BlockSteps.h"

#include "base/Messages.h"
#include "interp/Interpreter.h"
#include "interp/Preparer.h"
#include "interp/code/FunctionCode.h"
#include "interp/nodes/Statements.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

#include <algorithm>

// The variables of a block.

namespace {
/// What the specifier codes of one definition say. A storage class is checked and has no effect: locals are not stored.
struct Declared
{
    const char *problem = nullptr; // the message when they contradict one another
    bool isStack = false;
    int typeCode = IntegerType;
};

Declared declaredBy(const std::vector<int> &codes, bool isArray, const AST &program)
{
    std::vector<int> storages;
    std::vector<int> placements;
    std::vector<int> types;
    std::vector<int> others;
    for (const int code : codes) {
        auto &family = code >= Volatile && code <= Persistent ? storages
                       : code == StackVar || code == LocalVar ? placements
                       : isBuiltInType(code)                  ? types
                                                              : others;
        family.push_back(code);
    }
    const auto has = [&storages](int code) {
        return std::find(storages.begin(), storages.end(), code) != storages.end();
    };
    Declared result;
    if (has(Volatile) + has(NonVolatile) + has(Persistent) > 1) {
        result.problem = QT_TRANSLATE_NOOP("messages", "Wrong storage type defination");
    } else if (placements.size() > 1) {
        result.problem = QT_TRANSLATE_NOOP("messages", "Wrong block variable defination");
    } else if (storages.size() > 1) {
        result.problem = QT_TRANSLATE_NOOP("messages", "Wrong block variable storage type defination");
    } else if (!placements.empty() && placements[0] == StackVar && !storages.empty()) {
        result.problem = QT_TRANSLATE_NOOP("messages", "Stack variable cannot have storage type");
    } else if (types.size() > 1) {
        result.problem = QT_TRANSLATE_NOOP("messages", "Wrong block variable type defination");
    }
    result.isStack = !placements.empty() && placements[0] == StackVar;
    result.typeCode = isArray ? CharType : IntegerType;
    if (!types.empty()) {
        result.typeCode = types[0];
    } else if (others.size() == 1 && program.findType(others[0])) {
        result.typeCode = others[0];
    }
    return result;
}

/// A definition that does not work out: it says so whenever the block runs.
class FaultyDefinition : public Step
{
public:
    explicit FaultyDefinition(const char *message, const QString &name = QString())
        : m_message(message)
        , m_name(name)
    {}
    Flow execute(Run &run) const override
    {
        if (m_name.isNull()) {
            run.error(m_message);
        } else {
            run.error(m_message, m_name);
        }
        return Flow::Next;
    }

private:
    const char *m_message;
    QString m_name;
};

class StackNumber : public Step
{
public:
    explicit StackNumber(int slot)
        : m_slot(slot)
    {}
    Flow execute(Run &run) const override
    {
        run.frame[m_slot].number = 0;
        return Flow::Next;
    }

private:
    int m_slot;
};

class StackObject : public Step
{
public:
    StackObject(int slot, std::unique_ptr<BasicType> prototype)
        : m_slot(slot)
        , m_prototype(std::move(prototype))
    {}
    Flow execute(Run &run) const override
    {
        run.frame[m_slot].object = m_prototype->clone().release();
        return Flow::Next;
    }

private:
    int m_slot;
    std::unique_ptr<BasicType> m_prototype;
};

/// An array whose sizes are computed whenever the block runs. A stack array is then made anew; a kept one only once.
class ComputedArray : public Step
{
public:
    ComputedArray(int slot, Name name, const Declared &declared, std::vector<std::unique_ptr<Code>> sizes)
        : m_slot(slot)
        , m_name(name)
        , m_declared(declared)
        , m_sizes(std::move(sizes))
    {}
    Flow execute(Run &run) const override
    {
        run.frame[m_slot].object = nullptr;
        const std::optional<std::vector<int>> sizes = evaluateSizes(run, m_sizes);
        if (!sizes) {
            run.error(QT_TRANSLATE_NOOP("messages", "Wrong array defination"));
            return Flow::Next;
        }
        if (m_declared.isStack || !m_kept) {
            std::unique_ptr<BasicType> array = makeArray(m_name, m_declared.typeCode, *sizes, &run.program());
            array->setPlacement(m_declared.isStack ? StackVar : LocalVar);
            if (m_declared.isStack) {
                run.frame[m_slot].object = array.release();
                return Flow::Next;
            }
            m_kept = std::move(array);
        }
        run.frame[m_slot].object = m_kept.get();
        return Flow::Next;
    }

private:
    int m_slot;
    Name m_name;
    Declared m_declared;
    std::vector<std::unique_ptr<Code>> m_sizes;
    mutable std::unique_ptr<BasicType> m_kept; // of a LOCAL_VAR, from its first execution on
};

/// Holds the LOCAL_VARs of a block; nothing happens when it runs.
class KeptObject : public Step
{
public:
    explicit KeptObject(std::unique_ptr<BasicType> object)
        : m_object(std::move(object))
    {}
    Flow execute(Run &) const override { return Flow::Next; }

private:
    std::unique_ptr<BasicType> m_object;
};

/// A block that owns objects in its frame.
class OwningBlock : public Step
{
public:
    OwningBlock(std::unique_ptr<Step> body, std::vector<int> ownedSlots)
        : m_body(std::move(body))
        , m_ownedSlots(std::move(ownedSlots))
    {}
    Flow execute(Run &run) const override
    {
        const Flow flow = m_body->perform(run);
        for (const int slot : m_ownedSlots) {
            delete run.frame[slot].object;
        }
        return flow;
    }

private:
    std::unique_ptr<Step> m_body;
    std::vector<int> m_ownedSlots;
};

/// Prepares the definitions of one block.
class BlockDefinitions
{
public:
    explicit BlockDefinitions(Preparer &preparer)
        : m_preparer(preparer)
    {}

    void add(const BlockItemDefStatement &definition)
    {
        for (const BlockItemDefStatement::Item &item : definition.items) {
            if (!item.codes.empty() && item.declarator) {
                addItem(item);
            }
        }
    }
    std::vector<std::unique_ptr<Step>> takeSteps() { return std::move(m_steps); }
    std::vector<int> takeOwnedSlots() { return std::move(m_ownedSlots); }

private:
    void addItem(const BlockItemDefStatement::Item &item)
    {
        const bool isArray = as<ArrayExpression>(item.declarator.get()) != nullptr;
        const Declared declared = declaredBy(item.codes, isArray, m_preparer.program());
        if (declared.problem) {
            addFault(declared.problem);
        } else if (isArray) {
            addArray(declared, *item.declarator);
        } else if (const auto *variable = as<VarExpression>(item.declarator.get())) {
            addScalar(declared, Name(variable->name));
        } else {
            addFault(QT_TRANSLATE_NOOP("messages", "Wrong value defination"));
        }
    }

    void addScalar(const Declared &declared, Name name)
    {
        if (isDuplicate(name)) {
            return;
        }
        const bool isPlainNumber = isNumericType(declared.typeCode) && !m_preparer.mayMoveLevels(name);
        if (declared.isStack && isPlainNumber) {
            const int slot = m_preparer.addSlot();
            m_preparer.declare({ name, LocalVariable::Kind::Number, slot, declared.typeCode, nullptr, false });
            m_steps.push_back(std::make_unique<StackNumber>(slot));
            return;
        }
        addObject(declared, name, makeValue(declared.typeCode, &m_preparer.program()));
    }

    void addArray(const Declared &declared, const Expression &expression)
    {
        const std::optional<Declarator> declarator = declaratorOf(&expression, m_preparer.program());
        if (!declarator) {
            addFault(QT_TRANSLATE_NOOP("messages", "Wrong array defination"));
            return;
        }
        const Name name(declarator->name);
        if (isDuplicate(name)) {
            return;
        }
        if (const std::optional<std::vector<int>> sizes = constantSizes(*declarator)) {
            addObject(declared, name, makeArray(name, declared.typeCode, *sizes, &m_preparer.program()));
            return;
        }
        std::vector<std::unique_ptr<Code>> sizes;
        for (const auto *size : declarator->sizes) {
            sizes.push_back(m_preparer.expression(*size));
        }
        const int slot = m_preparer.addSlot();
        m_preparer.declare({ name, LocalVariable::Kind::Object, slot, declared.typeCode, nullptr, sizes.size() > 1 });
        if (declared.isStack) {
            m_ownedSlots.push_back(slot);
        }
        m_steps.push_back(std::make_unique<ComputedArray>(slot, name, declared, std::move(sizes)));
    }

    void addObject(const Declared &declared, Name name, std::unique_ptr<BasicType> value)
    {
        if (!value) {
            addFault(QT_TRANSLATE_NOOP("messages", "Wrong defination"));
            return;
        }
        value->setName(name);
        value->setPlacement(declared.isStack ? StackVar : LocalVar);
        const Array *array = asArray(value.get());
        LocalVariable local{ name,        LocalVariable::Kind::Object,   0, array ? declared.typeCode : 0,
                             value.get(), array && array->firstIsArray() };
        if (declared.isStack) {
            local.kept = nullptr;
            local.slot = m_preparer.addSlot();
            m_ownedSlots.push_back(local.slot);
            m_steps.push_back(std::make_unique<StackObject>(local.slot, std::move(value)));
        } else {
            local.kind = value->isNumber() ? LocalVariable::Kind::KeptNumber : LocalVariable::Kind::KeptObject;
            local.typeCode = declared.typeCode;
            m_steps.push_back(std::make_unique<KeptObject>(std::move(value)));
        }
        m_preparer.declare(local);
    }

    bool isDuplicate(Name name)
    {
        if (!m_preparer.findLocal(name)) {
            return false;
        }
        m_steps.push_back(std::make_unique<FaultyDefinition>(
            QT_TRANSLATE_NOOP("messages", "Symbol [%1] already defined in current scope"), name.text()));
        return true;
    }

    void addFault(const char *message) { m_steps.push_back(std::make_unique<FaultyDefinition>(message)); }

    Preparer &m_preparer;
    std::vector<std::unique_ptr<Step>> m_steps;
    std::vector<int> m_ownedSlots;
};
} // namespace

std::unique_ptr<Step> prepareBlock(const StatementList &list, Preparer &preparer)
{
    const size_t mark = preparer.openBlock();
    BlockDefinitions definitions(preparer);
    std::vector<std::unique_ptr<Step>> steps;
    for (const auto &statement : list.statements) {
        if (const auto *definition = as<BlockItemDefStatement>(statement.get())) {
            definitions.add(*definition);
            for (auto &step : definitions.takeSteps()) {
                steps.push_back(std::move(step));
            }
        } else if (statement) {
            steps.push_back(preparer.statement(statement));
        }
    }
    preparer.closeBlock(mark);
    std::unique_ptr<Step> body = makeListStep(std::move(steps));
    std::vector<int> ownedSlots = definitions.takeOwnedSlots();
    if (ownedSlots.empty()) {
        return body;
    }
    return std::make_unique<OwningBlock>(std::move(body), std::move(ownedSlots));
}

std::unique_ptr<Step> BlockItemDefStatement::prepare(Preparer &) const
{
    return makeNothingStep(); // the block that it stands in prepares it; alone it declares nothing that anybody sees
}
