#include "interp/code/FunctionCode.h"

#include "interp/nodes/Statements.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

#include <algorithm>

namespace {
/// The number that a parameter or other scalar takes from a value: an array gives its first element.
bool numberToTake(const ValueView &value, double &number)
{
    if (const Array *array = value.array(); array && array->length() < 1) {
        return false;
    }
    return numberOf(value, number);
}
} // namespace

FunctionCode::FunctionCode(Preparer &preparer, const FunctionArgList *arguments)
{
    if (!arguments) {
        return;
    }
    int source = 0;
    for (const FunctionArg &argument : *arguments) {
        const size_t before = m_parameters.size();
        addParameter(preparer, argument);
        if (m_parameters.size() > before) {
            m_sources.push_back(source);
        }
        ++source;
    }
    if (std::all_of(m_parameters.begin(), m_parameters.end(),
                    [](const Parameter &parameter) { return parameter.isNumber; })) {
        for (const Parameter &parameter : m_parameters) {
            m_numberTypes.push_back(parameter.typeCode);
        }
    }
}

void FunctionCode::addParameter(Preparer &preparer, const FunctionArg &argument)
{
    const std::optional<Declarator> declarator = declaratorOf(argument.declaration.get(), preparer.program());
    if (!declarator) {
        return;
    }
    Parameter parameter;
    parameter.name = Name(declarator->name);
    parameter.typeCode = argument.typeCode;
    if (declarator->isArray) {
        if (const std::optional<std::vector<int>> sizes = constantSizes(*declarator)) {
            parameter.prototype = makeArray(parameter.name, argument.typeCode, *sizes, &preparer.program());
        } else {
            parameter.isVariableArray = true;
            for (const auto *size : declarator->sizes) {
                parameter.sizes.push_back(preparer.expression(*size));
            }
        }
    } else if (isNumericType(argument.typeCode) && !preparer.mayMoveLevels(parameter.name)) {
        parameter.isNumber = true;
    } else {
        parameter.prototype = makeValue(argument.typeCode, &preparer.program());
        if (!parameter.prototype) {
            return;
        }
        parameter.prototype->setName(parameter.name);
    }
    if (parameter.prototype) {
        parameter.prototype->setPlacement(StackVar);
    }
    m_parameters.push_back(std::move(parameter));
}

void FunctionCode::prepareBody(Preparer &preparer, const CompoundStatement *body)
{
    for (const Parameter &parameter : m_parameters) {
        const int slot = preparer.addSlot();
        LocalVariable local{ parameter.name, LocalVariable::Kind::Number, slot, parameter.typeCode, nullptr, false };
        if (!parameter.isNumber) {
            const Array *array = asArray(parameter.prototype.get());
            local.kind = LocalVariable::Kind::Object;
            local.isMatrix = array ? array->firstIsArray() : parameter.sizes.size() > 1;
            if (!array && !parameter.isVariableArray) {
                local.typeCode = 0; // not an array: no element of it is a number
            }
        }
        if (!preparer.findLocal(local.name)) {
            preparer.declare(local);
        }
    }
    m_body = preparer.statement(body);
    m_frameSize = preparer.frameSize();
    m_reach = preparer.takeReach();
}

bool FunctionCode::call(Run &run, const std::vector<std::unique_ptr<Code>> &arguments) const
{
    run.result.seen = {};
    if (!run.hasRoom(m_frameSize)) {
        return false;
    }
    Slot *const base = run.top;
    for (size_t index = 0; index < m_parameters.size(); ++index) {
        const Parameter &parameter = m_parameters[index];
        const auto source = static_cast<size_t>(m_sources[index]);
        const Code *argument = source < arguments.size() ? arguments[source].get() : nullptr;
        if (parameter.isNumber) {
            double value = 0;
            if (argument && argument->isNeverArray()) {
                value = argument->number(run).value;
            } else if (argument) {
                ValueRef hold;
                if (!numberToTake(argument->view(run, hold), value)) {
                    value = 0;
                }
            }
            run.top->number = normalised(parameter.typeCode, value);
        } else {
            std::unique_ptr<BasicType> object = makeObject(run, parameter);
            if (argument && object) {
                ValueRef hold;
                assignValue(*object, argument->view(run, hold));
            }
            run.top->object = object.release();
        }
        ++run.top; // only now: what the argument called used the slots from here on
    }
    runBody(run, base);
    for (size_t index = 0; index < m_parameters.size(); ++index) {
        if (!m_parameters[index].isNumber) {
            delete base[index].object;
        }
    }
    return true;
}

bool FunctionCode::takesNumbers(size_t argumentCount) const
{
    return m_parameters.size() == argumentCount && m_numberTypes.size() == argumentCount;
}

bool FunctionCode::callWithNumbers(Run &run, const std::vector<std::unique_ptr<Code>> &arguments) const
{
    run.result.seen.kind = ValueView::Kind::None;
    if (!run.hasRoom(m_frameSize)) {
        return false;
    }
    Slot *const base = run.top;
    for (size_t index = 0; index < arguments.size(); ++index) {
        const double value = arguments[index]->number(run).value;
        run.top->number = normalised(m_numberTypes[index], value);
        ++run.top; // only now: what the argument called used the slots from here on
    }
    runBody(run, base);
    return true;
}

void FunctionCode::runBody(Run &run, Slot *base) const
{
    const FrameScope scope(run, base, m_frameSize);
    run.result.seen.kind = ValueView::Kind::None;
    if (m_body && !run.stopRequested() && m_body->perform(run) != Flow::Return) {
        run.result.seen.kind = ValueView::Kind::None;
    }
}

std::unique_ptr<BasicType> FunctionCode::makeObject(Run &run, const Parameter &parameter) const
{
    if (!parameter.isVariableArray) {
        return parameter.prototype->clone();
    }
    const std::optional<std::vector<int>> sizes = evaluateSizes(run, parameter.sizes);
    return sizes ? makeArray(parameter.name, parameter.typeCode, *sizes, &run.program()) : nullptr;
}

std::optional<Declarator> declaratorOf(const Expression *expression, ProgramContext &program)
{
    Declarator declarator;
    while (const auto *array = as<ArrayExpression>(expression)) {
        declarator.isArray = true;
        declarator.sizes.insert(declarator.sizes.begin(), &array->index);
        expression = array->base.get();
    }
    const auto *variable = as<VarExpression>(expression);
    if (!variable) {
        reportError(&program, QT_TRANSLATE_NOOP("messages", "Wrong array expression"));
        return std::nullopt;
    }
    declarator.name = variable->name;
    return declarator;
}

std::optional<std::vector<int>> constantSizes(const Declarator &declarator)
{
    std::vector<int> sizes;
    for (const auto *size : declarator.sizes) {
        const auto *constant = as<ConstExpression>(size->get());
        if (*size && (!constant || !isWholeNumber(constant->value))) {
            return std::nullopt;
        }
        sizes.push_back(constant ? integerPart32(constant->value) : 0);
    }
    return sizes;
}

std::unique_ptr<Array> makeArray(Name name, int typeCode, const std::vector<int> &sizes, ProgramContext *program)
{
    const auto makeOne = [&] {
        auto array = std::make_unique<Array>(typeCode);
        array->setProgram(program);
        return array;
    };
    std::unique_ptr<Array> outer;
    for (auto size = sizes.rbegin(); size != sizes.rend(); ++size) {
        std::unique_ptr<Array> array = makeOne();
        array->setMaxLength(*size);
        array->setElement(1, std::move(outer));
        outer = std::move(array);
    }
    if (!outer) {
        outer = makeOne();
    }
    outer->setName(name);
    return outer;
}

std::optional<std::vector<int>> evaluateSizes(Run &run, const std::vector<std::unique_ptr<Code>> &sizes)
{
    std::vector<int> numbers;
    for (const auto &size : sizes) {
        const Number number = size ? size->number(run) : Number{ 0, true };
        if (!number.ok || !isWholeNumber(number.value)) {
            run.error(QT_TRANSLATE_NOOP("messages", "Wrong array index"));
            return std::nullopt;
        }
        numbers.push_back(integerPart32(number.value));
    }
    return numbers;
}
