#include "compiler/checks/Checks.h"
#include "compiler/lexing/Words.h"
#include "compiler/parsing/ExpressionParser.h"
#include "library/Library.h"

// Expressions that name what is stored: variables, their elements and members, and ++ and -- on them.

Operand ExpressionParser::parseStored()
{
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a variable");
        return {};
    }
    return parseSuffixes(parseVariable());
}

Operand ExpressionParser::parseVariable()
{
    const Token name = cursor().next();
    Operand operand;
    operand.position = name.position;
    operand.isStored = true;
    operand.rootName = name.text;
    operand.node = std::make_unique<VarExpression>(normalisedName(name.text));
    m_work.checks->expressions.mark(ExpressionChecks::Mark::Kind::Variable, normalisedName(name.text), name.position);
    if (LocalScope::Local *local = m_work.locals.find(name.text)) {
        local->isUsed = true;
        m_work.noteUse(name, *local);
        operand.type = local->type;
        operand.localSize = local->size;
    } else if (GlobalSymbol *global = m_work.symbols.findGlobal(name.text)) {
        global->isUsed = true;
        m_work.noteUse(name, *global);
        operand.type = global->type;
        operand.shape = global->value;
        operand.isConstant = global->isConst;
        operand.isLiteral = global->isSystem && (name.isName("true") || name.isName("false"));
    } else if (m_work.symbols.findFunction(name.text) || Library::find(name.text)) {
        report(Fault::WrongCall, name.position, QStringLiteral("'%1' is a function; call it as %1(…)").arg(name.text));
    } else if (!reportOtherLanguage(m_work.sources, name)) {
        static const QStringList kEventNames{ QStringLiteral("button"), QStringLiteral("data"), QStringLiteral("level"),
                                              QStringLiteral("timeline") };
        reportName(
            Fault::UnknownName, name,
            kEventNames.contains(name.text, Qt::CaseInsensitive)
                ? QStringLiteral("'%1' is known only inside the handlers of %1 events").arg(name.text.toLower())
            : isReservedWord(name.text)
                ? QStringLiteral("an expression expected, found '%1'").arg(name.text)
                : QStringLiteral("unknown name '%1'%2")
                      .arg(name.text, didYouMean(m_work.symbols.closestGlobal(name.text, m_work.locals.names()))));
    }
    return operand;
}

Operand ExpressionParser::parseSuffixes(Operand operand)
{
    while (operand && !cursor().startsLine()) {
        if (cursor().at(TokenKind::LeftBracket) && operand.isStored) {
            operand = parseElement(std::move(operand));
        } else if (cursor().at(TokenKind::Dot) && operand.isStored) {
            operand = parseMember(std::move(operand));
        } else {
            break;
        }
        if (operand && !fits(operand)) {
            return {};
        }
    }
    return operand;
}

Operand ExpressionParser::parseElement(Operand base)
{
    if (base.type.isKnown() && !base.type.isArray()) {
        report(Fault::WrongType, cursor().position(),
               QStringLiteral("this is %1, not an array").arg(m_work.symbols.typeText(base.type)));
        base.type = {};
    }
    cursor().next();
    Operand index;
    {
        const TokenCursor::Nested nested(cursor());
        index = parse();
        if (!index) {
            return {};
        }
        if (index.type.isStruct()) {
            report(Fault::WrongType, index.position,
                   QStringLiteral("a number expected, found %1").arg(m_work.symbols.typeText(index.type)));
        }
        if (!cursor().expect(TokenKind::RightBracket, "']'")) {
            return {};
        }
    }
    if (base.type.isArray()) {
        m_work.checks->expressions.element(base, index);
    }
    const Array *array = asArray(base.shape);
    base.shape = array ? array->object(1) : nullptr;
    base.localSize = -1;
    auto node = std::make_unique<ArrayExpression>();
    node->base = std::move(base.node);
    node->index = std::move(index.node);
    base.node = std::move(node);
    base.height = std::max(base.height, index.height) + 1;
    if (base.type.isArray()) {
        --base.type.dimensions;
    }
    return base;
}

Operand ExpressionParser::parseMember(Operand base)
{
    m_work.names.dot(cursor().next(), base.type);
    if (!cursor().at(TokenKind::Name)) {
        cursor().expected("the name of a member");
        return {};
    }
    const Token name = cursor().next();
    StaticType type;
    if (base.type.isKnown()) {
        const std::optional<StaticType> known =
            base.type.isStruct() ? m_work.symbols.memberType(base.type.code, name.text) : std::nullopt;
        if (known) {
            type = *known;
            m_work.names.useMember(name, base.type.code);
        } else if (base.type.isStruct()) {
            report(Fault::UnknownMember, name.position,
                   QStringLiteral("%1 has no member '%2'%3")
                       .arg(m_work.symbols.typeText(base.type), name.text,
                            didYouMean(m_work.symbols.closestMember(base.type.code, name.text))));
        } else {
            report(Fault::UnknownMember, name.position,
                   QStringLiteral("%1 has no members").arg(m_work.symbols.typeText(base.type)));
        }
    }
    const StructType *structure = asStruct(base.shape);
    base.shape = structure ? structure->member(Name(name.text)) : nullptr;
    base.localSize = -1;
    auto node = std::make_unique<StructExpression>();
    node->base = std::move(base.node);
    node->memberName = normalisedName(name.text);
    base.node = std::move(node);
    base.height += 1;
    base.type = type;
    return base;
}

Operand ExpressionParser::parsePostfix()
{
    Operand operand = parseSuffixes(parsePrimary());
    const bool isStep = cursor().at(TokenKind::PlusPlus) || cursor().at(TokenKind::MinusMinus);
    if (!operand || !isStep || cursor().startsLine()) {
        return operand;
    }
    m_work.checks->usage.stored(operand);
    const bool isIncrement = cursor().at(TokenKind::PlusPlus);
    auto *variable = as<VarExpression>(operand.node.get());
    if (!variable) {
        report(Fault::StepTarget, operand.position,
               QStringLiteral("inside an expression only a plain variable can be stepped"));
        return {};
    }
    if (operand.isConstant) {
        report(Fault::ConstantChanged, operand.position, QStringLiteral("'%1' is a constant").arg(operand.rootName));
    }
    cursor().next();
    std::unique_ptr<StepExpression> node;
    if (isIncrement) {
        node = std::make_unique<IncExpression>();
    } else {
        node = std::make_unique<DecExpression>();
    }
    node->isPrefix = false;
    node->operand = nodeAs<VarExpression>(std::move(operand.node));
    Operand result;
    result.node = std::move(node);
    result.type = kNumberType;
    result.height = 2;
    result.position = operand.position;
    return result;
}

/// ++x and --x; the cursor stands on the sign.
Operand ExpressionParser::parseStep(bool isIncrement)
{
    const SourcePosition position = cursor().position();
    cursor().next();
    Operand operand = parseStored();
    if (!operand) {
        return {};
    }
    m_work.checks->usage.stored(operand);
    std::unique_ptr<VarExpression> variable = nodeAs<VarExpression>(std::move(operand.node));
    if (!variable) {
        report(Fault::StepTarget, operand.position,
               QStringLiteral("inside an expression only a plain variable can be stepped"));
        return {};
    }
    if (operand.isConstant) {
        report(Fault::ConstantChanged, operand.position, QStringLiteral("'%1' is a constant").arg(operand.rootName));
    } else if (operand.type.isKnown() && !operand.type.isNumber()) {
        report(Fault::WrongType, operand.position, QStringLiteral("only a number can be stepped"));
    }
    Operand result;
    std::unique_ptr<StepExpression> node;
    if (isIncrement) {
        node = std::make_unique<IncExpression>();
    } else {
        node = std::make_unique<DecExpression>();
    }
    node->operand = std::move(variable);
    result.node = std::move(node);
    result.type = kNumberType;
    result.height = 2;
    result.position = position;
    return result;
}
