#include "LibraryBench.h"

namespace {
/// An argument that a test made: a variable is lent, a literal is handed out fresh.
class TestCode : public Code
{
public:
    TestCode(ValueRef value, bool isVariable, const std::function<void()> &before)
        : m_value(std::move(value))
        , m_isVariable(isVariable)
        , m_before(before)
    {}
    Number number(Run &) const override
    {
        evaluate();
        Number seen;
        seen.ok = numberOf(ValueView::of(m_value.get()), seen.value);
        return seen;
    }
    ValueView view(Run &, ValueRef &hold) const override
    {
        evaluate();
        if (!m_isVariable) {
            hold = m_value;
        }
        return ValueView::of(m_value.get());
    }
    Place place(Run &) const override
    {
        evaluate();
        return { m_isVariable ? m_value.get() : nullptr };
    }

private:
    void evaluate() const
    {
        if (m_before) {
            m_before();
        }
    }

    ValueRef m_value;
    bool m_isVariable;
    const std::function<void()> &m_before;
};
} // namespace

LibraryBench::LibraryBench()
    : state(program, directory.path())
    , interpreter(state)
{
    library.registerIn(program);
    state.setDevices(&devices);
    state.setSockets(&sockets);
    interpreter.setEvents(&events);
    QObject::connect(&program, &AST::error, &program, [this](const QString &message) { messages << message; });
}

QVariant LibraryBench::call(const char *name, const QVariantList &arguments)
{
    return run(name, arguments, true);
}

QVariant LibraryBench::callWithoutList(const char *name)
{
    return run(name, {}, false);
}

QVariant LibraryBench::run(const char *name, const QVariantList &arguments, bool isPresent)
{
    std::vector<std::unique_ptr<Code>> list;
    for (const QVariant &argument : arguments) {
        const bool isVariable = argument.userType() == qMetaTypeId<ValueRef>();
        ValueRef value;
        if (isVariable) {
            value = argument.value<ValueRef>();
        } else if (argument.type() == QVariant::ByteArray) {
            value = text(argument.toByteArray());
        } else if (argument.isValid()) {
            value = std::make_shared<Double>(argument.toDouble());
        }
        list.push_back(argument.isValid() ? std::make_unique<TestCode>(value, isVariable, beforeEveryEvaluation)
                                          : nullptr);
    }
    auto *function = static_cast<BuiltinFunction *>(program.findFunction(Name(QString::fromLatin1(name))));
    if (!function) {
        qFatal("no built-in %s", name);
    }
    const ValueView result = function->run(ArgumentList(interpreter.run(), list, isPresent));
    if (result.isNumber()) {
        return result.number;
    }
    return result.array() ? QVariant(result.array()->toBytes()) : QVariant();
}

QVariant variable(const ValueRef &value)
{
    return QVariant::fromValue(value);
}

QVariant number(int typeCode, double value)
{
    return variable(std::make_shared<Double>(value, typeCode));
}

ValueRef text(const QByteArray &bytes, int maxLength)
{
    ValueRef made = Array::ofBytes({ bytes.constData(), static_cast<size_t>(bytes.size()) });
    static_cast<Array *>(made.get())->setMaxLength(maxLength);
    return made;
}

ValueRef numbers(int typeCode, const std::vector<double> &elements)
{
    auto array = std::make_shared<Array>(typeCode);
    array->setLength(static_cast<int>(elements.size()));
    array->setMaxLength(array->length());
    for (size_t i = 0; i < elements.size(); ++i) {
        array->setNumber(static_cast<int>(i) + 1, elements[i]);
    }
    return array;
}

ValueRef device(int deviceNumber, int port, int system)
{
    return std::make_shared<Device>(DeviceAddress{ deviceNumber, port, system });
}

ValueRef devChan(int deviceNumber, int channel)
{
    auto value = std::make_shared<DevChan>();
    value->setCode(channel);
    value->setDevice({ deviceNumber, 1, 0 });
    return value;
}

ValueRef devLev(int deviceNumber, int level)
{
    auto value = std::make_shared<DevLev>();
    value->setCode(level);
    value->setDevice({ deviceNumber, 1, 0 });
    return value;
}

ValueRef listOf(int typeCode, const std::vector<ValueRef> &elements)
{
    auto array = std::make_shared<Array>(typeCode);
    array->setLength(static_cast<int>(elements.size()));
    array->setMaxLength(array->length());
    for (size_t i = 0; i < elements.size(); ++i) {
        array->setElement(static_cast<int>(i) + 1, elements[i]->clone());
    }
    return array;
}

QByteArray bytesOf(const ValueRef &value)
{
    return static_cast<const Array *>(value.get())->toBytes();
}
