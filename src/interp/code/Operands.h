#pragma once
#include "interp/Run.h"

/// The ways in which an operator reaches an operand, chosen once when the tree is prepared. Operators are templates
/// over them, so that a + 1 on a local costs no call besides its own.

struct ConstantOperand
{
    double constant;
    Number get(Run &) const { return { constant, true }; }
};

struct LocalOperand
{
    int slot;
    Number get(Run &run) const { return { run.frame[slot].number, true }; }
};

struct StaticOperand
{
    const double *storage;
    Number get(Run &) const { return { *storage, true }; }
};

/// Code that cannot fail to be a number.
struct SureOperand
{
    std::unique_ptr<Code> owner;
    const NumberCode *code;
    Number get(Run &run) const { return { code->compute(run), true }; }
};

struct CodeOperand
{
    std::unique_ptr<Code> code;
    Number get(Run &run) const { return code->number(run); }
};

/// Whether getting an operand runs no code of the program and changes nothing.
template <class Operand>
bool isQuietOperand(const Operand &operand)
{
    if constexpr (requires { operand.code; }) {
        return operand.code->isQuiet();
    } else {
        return true;
    }
}

/// Calls use(operand) with the cheapest operand that reaches the code's number.
template <class Use>
auto withOperand(std::unique_ptr<Code> code, Use use)
{
    const Leaf leaf = code->leaf();
    switch (leaf.kind) {
    case Leaf::Kind::Constant:
        return use(ConstantOperand{ leaf.constant });
    case Leaf::Kind::Local:
        return use(LocalOperand{ leaf.slot });
    case Leaf::Kind::Static:
        return use(StaticOperand{ leaf.storage });
    case Leaf::Kind::None:
        break;
    }
    if (const NumberCode *sure = code->asNumberCode()) {
        return use(SureOperand{ std::move(code), sure });
    }
    return use(CodeOperand{ std::move(code) });
}

/// Makes Node<Left, Right> with the operands that fit.
template <template <class, class> class Node>
std::unique_ptr<Code> makeBinary(std::unique_ptr<Code> left, std::unique_ptr<Code> right)
{
    return withOperand(std::move(left), [&right](auto leftOperand) {
        return withOperand(std::move(right), [&leftOperand](auto rightOperand) -> std::unique_ptr<Code> {
            return std::make_unique<Node<decltype(leftOperand), decltype(rightOperand)>>(std::move(leftOperand),
                                                                                         std::move(rightOperand));
        });
    });
}
