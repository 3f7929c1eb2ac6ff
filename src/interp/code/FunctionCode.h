#pragma once
#include "interp/Preparer.h"
#include "interp/Run.h"
#include "program/Function.h"

#include <optional>
#include <vector>

class CompoundStatement;

/// The prepared parameters and body of a function or routine of the program.
/// Made in two steps, because bodies call functions that stand later in the file.
class FunctionCode
{
public:
    FunctionCode(Preparer &preparer, const FunctionArgList *arguments);
    void prepareBody(Preparer &preparer, const CompoundStatement *body);

    /// Runs the body with arguments by value; those that are missing leave their parameter as it is when new.
    /// What RETURN hands over is in run.result, which is empty otherwise. False: the call would be too deep.
    bool call(Run &run, const std::vector<std::unique_ptr<Code>> &arguments) const;

    /// Whether every parameter is a plain number and there are as many as arguments.
    bool takesNumbers(size_t argumentCount) const;
    /// The same as call() for such a function and arguments that cannot be arrays.
    bool callWithNumbers(Run &run, const std::vector<std::unique_ptr<Code>> &arguments) const;

    int frameSize() const { return m_frameSize; }
    const Reach &reach() const { return m_reach; }

private:
    struct Parameter
    {
        bool isNumber = false;
        int typeCode = 0;
        Name name{};
        std::unique_ptr<BasicType> prototype{};     // of an object; cloned for each call
        std::vector<std::unique_ptr<Code>> sizes{}; // of an array whose sizes are no constants, outermost first
        bool isVariableArray = false;
    };
    void addParameter(Preparer &preparer, const FunctionArg &argument);
    void runBody(Run &run, Slot *base) const;
    std::unique_ptr<BasicType> makeObject(Run &run, const Parameter &parameter) const;

    std::vector<Parameter> m_parameters; // in the first slots of the frame; those that cannot be made are left out
    std::vector<int> m_numberTypes;      // the type codes, when all parameters are plain numbers
    std::vector<int> m_sources;          // per parameter: which argument fills it
    std::unique_ptr<Step> m_body;
    int m_frameSize = 0;
    Reach m_reach;
};

/// A declarator taken apart: NAME, NAME[size], NAME[size][size] …
struct Declarator
{
    QString name;
    bool isArray = false;
    std::vector<const std::unique_ptr<Expression> *> sizes; // as written; a missing expression is an empty size
};

std::optional<Declarator> declaratorOf(const Expression *expression,
                                       ProgramContext &program); // nullopt: neither a variable nor an array

/// The sizes when all are constants: whole numbers, 0 for an empty one. nullopt: some must be evaluated.
std::optional<std::vector<int>> constantSizes(const Declarator &declarator);

/// A new array with the given sizes, outermost first; inner ones become the template rows.
std::unique_ptr<Array> makeArray(Name name, int typeCode, const std::vector<int> &sizes, ProgramContext *program);

/// Evaluates sizes. nullopt: one is no whole number; "Wrong array index" has been reported.
std::optional<std::vector<int>> evaluateSizes(Run &run, const std::vector<std::unique_ptr<Code>> &sizes);
