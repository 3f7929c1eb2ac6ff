#include "interp/Preparer.h"

#include "interp/Interpreter.h"

#include <algorithm>

std::unique_ptr<Code> Preparer::expression(const std::unique_ptr<Expression> &node, Context context)
{
    return node ? node->prepare(*this, context) : nullptr;
}

std::unique_ptr<Step> Preparer::statement(const std::unique_ptr<Statement> &node)
{
    return statement(node.get());
}

std::unique_ptr<Step> Preparer::statement(const Statement *node)
{
    std::unique_ptr<Step> step = node ? node->prepare(*this) : nullptr;
    if (step) {
        step->setPlace(node->place);
    }
    return step;
}

const LocalVariable *Preparer::findLocal(Name name) const
{
    const auto found = std::find_if(m_visible.begin(), m_visible.end(),
                                    [name](const LocalVariable &variable) { return variable.name == name; });
    return found != m_visible.end() && !name.isEmpty() ? &*found : nullptr;
}

bool Preparer::mayMoveLevels(Name name) const
{
    return m_interpreter.mayMoveLevels(name);
}
