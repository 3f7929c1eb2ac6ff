#include "compiler/checks/UsageChecks.h"

#include "compiler/checks/Builtins.h"
#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"
#include "interp/code/FunctionCode.h"

#include <algorithm>

namespace {
bool canEnd(const Statement *statement);

bool isAlways(const Expression *condition)
{
    const auto *number = as<ConstExpression>(condition);
    const auto *name = as<VarExpression>(condition);
    return (number && integerPart(number->value) != 0) || (name && name->name == QLatin1String("TRUE"));
}

/// Whether a BREAK in it would end the loop or switch that it is the body of.
bool hasBreak(const Statement *statement)
{
    if (const auto *list = as<StatementList>(statement)) {
        return std::any_of(list->statements.begin(), list->statements.end(),
                           [](const auto &inner) { return hasBreak(inner.get()); });
    }
    if (const auto *block = as<CompoundStatement>(statement)) {
        return hasBreak(block->body.get());
    }
    if (const auto *branch = as<IfStatement>(statement)) {
        return hasBreak(branch->thenBranch.get()) || hasBreak(branch->elseBranch.get());
    }
    if (const auto *select = as<SelectStatement>(statement)) {
        return std::any_of(select->branches.begin(), select->branches.end(),
                           [](const auto &item) { return hasBreak(item.body.get()); });
    }
    return as<BreakStatement>(statement) != nullptr;
}

bool canSwitchEnd(const SwitchStatement &statement)
{
    bool hasDefault = false;
    for (const auto &item : statement.cases) {
        hasDefault = hasDefault || item.kind == SwitchStatement::DefaultCase;
        if (canEnd(item.body.get()) || hasBreak(item.body.get())) {
            return true;
        }
    }
    return !hasDefault;
}

/// Whether what stands behind a statement can be reached, as far as the form shows it.
bool canEnd(const Statement *statement)
{
    if (const auto *list = as<StatementList>(statement)) {
        return std::all_of(list->statements.begin(), list->statements.end(),
                           [](const auto &inner) { return canEnd(inner.get()); });
    }
    if (const auto *block = as<CompoundStatement>(statement)) {
        return canEnd(block->body.get());
    }
    if (const auto *branch = as<IfStatement>(statement)) {
        return canEnd(branch->thenBranch.get()) || !branch->elseBranch || canEnd(branch->elseBranch.get());
    }
    if (const auto *loop = as<WhileStatement>(statement)) {
        return !isAlways(loop->condition.get()) || hasBreak(loop->body.get());
    }
    if (const auto *choice = as<SwitchStatement>(statement)) {
        return canSwitchEnd(*choice);
    }
    if (const auto *select = as<SelectStatement>(statement)) {
        const bool hasLast = !select->branches.empty() && isAlways(select->branches.back().condition.get());
        return !hasLast || std::any_of(select->branches.begin(), select->branches.end(),
                                       [](const auto &item) { return canEnd(item.body.get()); });
    }
    return !as<ReturnStatement>(statement) && !as<BreakStatement>(statement) && !as<ContinueStatement>(statement);
}
} // namespace

void UsageChecks::called(const QString &name)
{
    m_called.insert(normalisedName(name));
    m_calls[m_callable].insert(normalisedName(name));
}

void UsageChecks::body(const CallableSymbol &symbol, const Statement *body)
{
    if (canEnd(body)) {
        report(Fault::MissingReturn, symbol.position, { symbol.name });
    }
}

void UsageChecks::stored(const Operand &target)
{
    const bool isGlobal = !target.rootName.isEmpty() && !m_work.locals.find(target.rootName);
    if (!isGlobal) {
        return;
    }
    effect();
    Stores &stores = m_stores[normalisedName(target.rootName)];
    if (as<VarExpression>(target.node.get())) {
        stores.isFilled = true;
    } else if (as<StructExpression>(target.node.get())) {
        stores.member = stores.member.value_or(target.position);
    } else {
        stores.element = stores.element.value_or(target.position);
    }
}

void UsageChecks::copied(const Operand &value)
{
    const auto *name = as<VarExpression>(value.node.get());
    if (name && value.type.dimensions == 1 && !m_work.locals.find(name->name)) {
        Stores &stores = m_stores[name->name];
        stores.copy = stores.copy.value_or(value.position);
    }
}

void UsageChecks::filled(const Operand &operand)
{
    if (operand.isStored) {
        m_stores[normalisedName(operand.rootName)].isFilled = true;
    }
}

void UsageChecks::builtinCall(const QString &name, const std::vector<Operand> &arguments)
{
    checkArguments(name, arguments);
    if (hasEffects(name)) {
        effect();
        for (const Operand &argument : arguments) { // it may fill its arguments
            filled(argument);
        }
    }
    const QString word = name.toLower();
    if (word == QLatin1String("timeline_create")) {
        timelineCreated(arguments);
    }
    if (word == QLatin1String("do_push") && !arguments.empty()) {
        const auto *list = as<VarExpression>(arguments.front().node.get());
        const Array *items =
            list && HiddenLists::isHiddenName(list->name) ? asArray(m_work.constants.valueOf(list->name)) : nullptr;
        if (items && asDevice(items->object(1)) && items->length() > 1) {
            report(Fault::PushList, arguments.front().position, {});
        }
    }
}

void UsageChecks::checkArguments(const QString &name, const std::vector<Operand> &arguments)
{
    for (size_t i = 0; i < arguments.size(); ++i) {
        const StaticType &type = arguments[i].type;
        const ArgumentKind kind = argumentKind(name, i);
        if (kind == ArgumentKind::Any || !type.isKnown()) {
            continue;
        }
        const QString wanted =
            kind == ArgumentKind::Number ? QStringLiteral("a number") : QStringLiteral("a text or an array");
        if (type.isStruct()) {
            report(Fault::ArgumentKind, arguments[i].position, { name, wanted, m_work.symbols.typeText(type) });
        } else if (kind == ArgumentKind::Text && type.isNumber()) {
            report(Fault::ArgumentNumber, arguments[i].position, { name });
        }
    }
}

void UsageChecks::timelineCreated(const std::vector<Operand> &arguments)
{
    const auto constant = [&](size_t index) {
        return index < arguments.size() ? m_work.constants.number(arguments[index].node.get()) : std::nullopt;
    };
    const std::optional<double> id = constant(0);
    m_createsComputed = m_createsComputed || !id;
    if (id) {
        m_created.push_back({ *id, arguments.front().position });
    }
    const std::optional<double> length = constant(2);
    if (arguments.size() < 3 || !arguments[1].shape) {
        return;
    }
    const Array *times = asArray(arguments[1].shape);
    const int capacity = arguments[1].isConstant && times ? times->capacity() : times ? times->maxLength() : 0;
    if (!times || arguments[1].type.dimensions != 1) {
        return;
    }
    if (length && capacity > 0 && *length > capacity) {
        report(Fault::TimelineLength, arguments[2].position,
               { QString::number(*length), arguments[1].rootName, QString::number(capacity) });
    }
    const bool isAbsolute = constant(3) && integerPart(*constant(3)) == 0;
    for (int i = 2; arguments[1].isConstant && isAbsolute && length && i <= *length && i <= times->length(); ++i) {
        if (times->number(i) < times->number(i - 1)) {
            report(Fault::TimelineOrder, arguments[1].position,
                   { arguments[1].rootName, QString::number(times->number(i - 1)), QString::number(times->number(i)) });
            break;
        }
    }
}

void UsageChecks::timelineEvent(const Operand &id)
{
    const std::optional<Constant> value = m_work.constants.evaluate(id.node.get(), id.position);
    std::vector<double> numbers;
    if (!value || !flatten(*value, numbers)) {
        m_handlesComputed = true;
        return;
    }
    for (const double number : numbers) {
        m_handled.push_back({ number, id.position });
    }
}

void UsageChecks::tell(const std::vector<ExpressionChecks::GuardedCall> &guardedCalls, bool isLibrary)
{
    tellCallables(guardedCalls, isLibrary);
    tellVariables();
    tellTimelines();
    for (const auto &[name, position] : m_cancelled) {
        if (m_waits.count(name) == 0) {
            report(Fault::UnknownWait, position,
                   { name, didYouMean(closestName(name, QStringList(m_waits.begin(), m_waits.end()))) });
        }
    }
}

void UsageChecks::tellCallables(const std::vector<ExpressionChecks::GuardedCall> &guardedCalls, bool isLibrary)
{
    const auto tellUncalled = [this, isLibrary](const CallableSymbol &symbol, const QString &kind) {
        if (m_called.count(normalisedName(symbol.name)) == 0 && symbol.position.file == 0 && !isLibrary) {
            report(Fault::UnusedFunction, symbol.position, { kind, symbol.name });
        }
    };
    for (const auto &[name, symbol] : m_work.symbols.functions()) {
        tellUncalled(symbol, QStringLiteral("function"));
    }
    for (const auto &[name, symbol] : m_work.symbols.routines()) {
        tellUncalled(symbol, QStringLiteral("routine"));
    }
    for (bool isChanged = true; isChanged;) { // who calls a function with effects has them, too
        isChanged = false;
        for (const auto &[name, callees] : m_calls) {
            const bool calls = std::any_of(callees.begin(), callees.end(),
                                           [this](const QString &callee) { return m_effects.count(callee) != 0; });
            isChanged = (calls && m_effects.insert(name).second) || isChanged;
        }
    }
    for (const auto &guarded : guardedCalls) {
        if (m_effects.count(normalisedName(guarded.call.name)) != 0) {
            report(Fault::UnguardedOperand, guarded.call.position,
                   { guarded.sign, QStringLiteral("call of '%1'").arg(guarded.call.name) });
        }
    }
}

void UsageChecks::tellVariables()
{
    for (const auto &[name, stores] : m_stores) {
        const GlobalSymbol *symbol = m_work.symbols.findGlobal(name);
        if (!symbol || !symbol->value || symbol->isConst || symbol->isInitialised || stores.isFilled) {
            continue;
        }
        const bool isKept = symbol->value->storageClass() == Persistent || symbol->value->storageClass() == NonVolatile;
        if (stores.element && symbol->type.dimensions == 1 && isKept) {
            report(
                Fault::NotStored, *stores.element,
                { QStringLiteral("'%1' has the length 0: write set_length_array(%1, …) before, or give it an initial "
                                 "value")
                      .arg(symbol->name) });
        } else if (stores.member && symbol->type.dimensions == 0 && isKept) {
            report(Fault::NotStored, *stores.member,
                   { QStringLiteral("only a structure that is assigned as a whole is: write %1 = {…}, or give it an "
                                    "initial value")
                         .arg(symbol->name) });
        }
        if (stores.copy && stores.element && symbol->type.dimensions == 1) {
            report(Fault::EmptyCopy, *stores.copy, { symbol->name });
        }
    }
}

void UsageChecks::tellTimelines()
{
    const auto has = [](const std::vector<Timeline> &list, double id) {
        return std::any_of(list.begin(), list.end(),
                           [id](const Timeline &other) { return numbersEqual(other.id, id); });
    };
    for (const Timeline &created : m_created) {
        if (!m_handlesComputed && !has(m_handled, created.id)) {
            report(Fault::TimelineUnheard, created.position, { QString::number(created.id) });
        }
    }
    for (const Timeline &handled : m_handled) {
        if (!m_createsComputed && !has(m_created, handled.id)) {
            report(Fault::TimelineUnmade, handled.position, { QString::number(handled.id) });
        }
    }
}
