#pragma once
#include "compiler/Workspace.h"
#include "interp/nodes/Expressions.h"

/// An expression that has been read. node is missing when it could not be.
struct Operand
{
    std::unique_ptr<Expression> node{};
    StaticType type{};
    int height = 1; // of the node's tree
    SourcePosition position{};
    bool isLiteral = false;           // made of nothing but literals, true and false
    bool isStored = false;            // names a variable, an element or a member
    bool isConstant = false;          // and that of a constant
    QString rootName{};               // of the variable
    TokenKind sign = TokenKind::End;  // of the operation that it is, outside parentheses
    const BasicType *shape = nullptr; // of a stored one: a value with its sizes, where one is known
    int localSize = -1;               // the same of a local variable

    int size() const; // of an array, as declared; 0: not bounded, -1: unknown

    explicit operator bool() const { return node != nullptr; }
};

/// Reads expressions. Line ends stop them, except inside brackets.
class ExpressionParser
{
public:
    explicit ExpressionParser(Workspace &workspace)
        : m_work(workspace)
    {}

    Operand parse();                                           // any expression
    Operand parseStored();                                     // a variable, an element or a member, without ++ or --
    std::unique_ptr<DeviceExpr> parseDevice(StaticType &type); // of a statement
    enum class ButtonUse { Channels, Levels };
    std::unique_ptr<ButtonExpression> parseButton(ButtonUse use, int *height = nullptr); // [ … ]
    /// The value for a variable of that type: a list for a structure keeps its texts and lists apart.
    Operand parseValueFor(const StaticType &target);

    /// name( … ) of a function; the cursor stands on the name.
    Operand parseCall();
    std::unique_ptr<ExpressionList> parseArguments(const CallableSymbol *callee, const QString &name, int &height);

    /// An initial value: an expression or a list of them, worked out. nullopt: reported.
    std::optional<Constant> parseConstant();
    std::optional<double> parseConstantNumber(const char *what);
    /// A whole number from least to most.
    std::optional<int> parseConstantInteger(const char *what, int least, int most);

    /// 10001:1:0 as it stands, or a constant device. nullopt: reported.
    struct DeviceName
    {
        DeviceAddress address;
        QString name;                      // of the constant; empty for an address
        std::vector<DeviceAddress> more{}; // of a constant array, behind the first
    };
    std::optional<DeviceName> parseConstantDevice();

    /// Reports an error when the tree of an expression, at its place, is too high for a loader.
    bool fits(const Operand &operand);

protected:
    Workspace &m_work;
    TokenCursor &cursor() { return m_work.cursor; }
    void report(Fault code, SourcePosition position, const QString &message)
    {
        m_work.sources.report(code, position, message);
    }
    void reportName(Fault code, const Token &name, const QString &message)
    {
        m_work.sources.reportName(code, name.position, name.text, message);
    }

    /// Counts how deep the parser has called itself; ends everything when that goes too far.
    class Level
    {
    public:
        explicit Level(Workspace &workspace);
        ~Level() { --m_work.recursion; }
        Level(const Level &) = delete;
        Level &operator=(const Level &) = delete;
        bool isTooDeep() const { return m_work.tooDeep; }

    private:
        Workspace &m_work;
    };

private:
    Operand parseBinary(int leastBinding);
    Operand combine(const Token &sign, Operand left, Operand right);
    Operand parseUnary();
    Operand parsePrimary();
    Operand parseNumber();
    Operand parseParentheses();
    Operand parseTextList();
    Operand parseList();
    std::optional<Constant> parseListConstant(std::vector<Operand> *items, bool &isConstant);
    Operand parseDeviceParts(Operand first, bool isAddress);
    bool atDevicePart() const;
    void parseButtonItem(ButtonExpression &button, std::vector<Operand> &operands);
    void checkButton(const std::vector<Operand> &operands, ButtonUse use, SourcePosition position);
    void checkPart(double part, int index, SourcePosition position);
    std::optional<Constant> constantValue(const Operand &operand);

    // PlaceParser.cpp
    Operand parseVariable();
    Operand parsePostfix();
    Operand parseStep(bool isIncrement);
    Operand parseSuffixes(Operand operand);
    Operand parseElement(Operand base);
    Operand parseMember(Operand base);

    bool m_isStructured = false; // lists keep their texts and lists apart
};

enum { kMostNodes = 990 }; // on a path from the root; a loader refuses more than 1000
