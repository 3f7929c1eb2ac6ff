#pragma once
#include "compiler/Sources.h"
#include "model/Values.h"
#include "program/Nodes.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class AST;
class DeviceExpr;
class NumberBoolExpression;
class StringExpression;

/// A value that the compiler has worked out.
struct Constant
{
    enum class Kind { Number, Text, Device, List };
    Kind kind = Kind::Number;
    double number = 0;
    QByteArray bytes{}; // of a Text
    DeviceAddress device{};
    std::vector<Constant> items{}; // of a List; a structure is the list of its members
    SourcePosition position{};

    static Constant ofNumber(double number, SourcePosition position)
    {
        return { Kind::Number, number, {}, {}, {}, position };
    }
    bool isNumber() const { return kind == Kind::Number; }
    bool isText() const { return kind == Kind::Text; }
    bool isDevice() const { return kind == Kind::Device; }
    bool isList() const { return kind == Kind::List; }
    /// As a number: its own, or that of a text's first byte. nullopt: it has none.
    std::optional<double> asNumber() const;
};

/// A stored value as a constant. Members of a structure stand in the order of its type's declaration.
Constant constantOf(const BasicType &value, const AST &program, SourcePosition position);

/// Finds the value of a constant of the program by name; nullptr: it is none.
using ConstantLookup = std::function<const BasicType *(const QString &name)>;

/// Works an expression out by the rules of the runtime; nullopt when it is not constant.
class ConstantEvaluator
{
public:
    ConstantEvaluator(const AST &program, ConstantLookup lookup)
        : m_program(program)
        , m_lookup(std::move(lookup))
    {}

    std::optional<Constant> evaluate(const Expression *node, SourcePosition position) const;
    std::optional<double> number(const Expression *node) const;
    const BasicType *valueOf(const QString &constant) const { return m_lookup(constant); }

private:
    const BasicType *stored(const Expression *node) const; // what a name, an element or a member denotes
    std::optional<Constant> evaluateDevice(const DeviceExpr &node, SourcePosition position) const;
    std::optional<Constant> evaluateText(const StringExpression &node, SourcePosition position) const;
    std::optional<double> evaluateNumber(const Expression &node) const;
    std::optional<double> evaluateComparison(const NumberBoolExpression &node) const;

    const AST &m_program;
    ConstantLookup m_lookup;
};

/// Gives a new value its initial content.
class Initialiser
{
public:
    Initialiser(const AST &program, Sources &sources)
        : m_program(program)
        , m_sources(sources)
    {}

    /// Reports what does not fit. Everything that is set counts as initialised.
    void initialise(BasicType &target, const Constant &initial);

private:
    void initialiseNumber(Double &target, const Constant &initial);
    void initialiseArray(Array &target, const Constant &initial);
    static int elementCount(const Constant &initial, bool holdsNumbers);
    bool fillNumbers(Array &target, const Constant &initial);
    bool fillObjects(Array &target, const std::vector<Constant> &items);
    void initialiseStruct(StructType &target, const Constant &initial);
    std::unique_ptr<BasicType> makeElement(const Array &target) const;

    const AST &m_program;
    Sources &m_sources;
};

/// Adds the flattened numbers of a constant: a text gives its bytes, a list its items'. False: it holds a device.
bool flatten(const Constant &constant, std::vector<double> &numbers);

/// A matrix of length 0 would lose its template row in a record: it gets length 1. Inner values likewise.
void keepTemplates(BasicType &value);
