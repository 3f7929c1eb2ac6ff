#pragma once
#include "interp/Code.h"
#include "interp/Interpreter.h"
#include "interp/TracedGlobals.h"
#include "program/Nodes.h"

#include <vector>

/// A local variable as the names of a body see it.
struct LocalVariable
{
    enum class Kind {
        Number,     // its number is in the frame
        Object,     // its object is in the frame
        KeptNumber, // a LOCAL_VAR number: stays with its definition
        KeptObject,
    };
    Name name;
    Kind kind = Kind::Number;
    int slot = 0;
    int typeCode = 0;
    BasicType *kept = nullptr;
    bool isMatrix = false; // of an array in the frame: its elements are arrays
};

/// Makes the code of one body (of a function, handler, wait …): resolves names to frame slots and globals.
/// Used once, after the program is loaded; the globals it resolves must live as long as the code.
class Preparer
{
public:
    explicit Preparer(Interpreter &interpreter)
        : m_interpreter(interpreter)
    {}

    AST &program() const { return m_interpreter.program(); }
    Interpreter &interpreter() const { return m_interpreter; }

    /// nullptr for a missing node.
    std::unique_ptr<Code> expression(const std::unique_ptr<Expression> &node, Context context = Context::Plain);
    std::unique_ptr<Step> statement(const std::unique_ptr<Statement> &node);
    std::unique_ptr<Step> statement(const Statement *node);

    const LocalVariable *findLocal(Name name) const; // nullptr: no such local here
    const std::vector<LocalVariable> &visible() const { return m_visible; }
    void declare(const LocalVariable &variable) { m_visible.push_back(variable); }
    int addSlot() { return m_slots++; }
    int frameSize() const { return m_slots; }

    /// Around a block: the names it declares end with it.
    size_t openBlock() const { return m_visible.size(); }
    void closeBlock(size_t mark) { m_visible.resize(mark); }

    /// What the body names and calls: for its trace.
    void noteGlobal(BasicType *global) { m_reach.globals.push_back(global); }
    void noteCall(const FunctionCode *called) { m_reach.calls.push_back(called); }
    Reach takeReach() { return std::move(m_reach); }

    /// Whether changes of a variable of that name may have to go out as levels.
    bool mayMoveLevels(Name name) const;

private:
    Interpreter &m_interpreter;
    std::vector<LocalVariable> m_visible;
    int m_slots = 0;
    Reach m_reach;
};
