#pragma once
#include "base/Names.h"
#include "compiler/lexing/TokenCursor.h"
#include "program/AST.h"

#include <map>
#include <memory>
#include <optional>
#include <set>

/// Where what no source declares is declared.
inline constexpr SourcePosition kNowhere{ -1, 0 };

/// What the compiler knows of the type of a name or an expression.
struct StaticType
{
    enum Code : int { Unknown = -1, ButtonData = -10, DataData = -11, LevelData = -12, TimelineData = -13 };
    int code = Unknown; // a type code, or one of the above
    int dimensions = 0; // 0: a single value

    bool isKnown() const { return code != Unknown; }
    bool isNumber() const { return dimensions == 0 && isNumericType(code); }
    bool isArray() const { return dimensions > 0; }
    bool isDevice() const { return dimensions == 0 && code == DeviceType; }
    bool isStruct() const { return dimensions == 0 && code != Unknown && !isNumericType(code); } // devices among them
    friend bool operator==(const StaticType &, const StaticType &) = default;
};

inline constexpr StaticType kNumberType{ DoubleType, 0 };
inline constexpr StaticType kTextType{ CharType, 1 };

/// A variable, constant or device of the whole program.
struct GlobalSymbol
{
    QString name; // as declared
    SourcePosition position{};
    StaticType type{};
    bool isConst = false;
    bool isSystem = false;
    bool isUsed = false;
    bool isInitialised = false;       // it has an initial value
    const BasicType *value = nullptr; // as the program starts with it; nullptr while it is not made yet
};

struct Parameter
{
    QString name;
    StaticType type{};
    SourcePosition position{};
};

struct CallableSymbol
{
    QString name;
    SourcePosition position{};
    std::vector<Parameter> parameters;
    std::optional<StaticType> result; // nullopt: none declared, or a routine
    bool isFaulty = false;            // its parameters could not be read
};

/// The names of a program.
class Symbols
{
public:
    explicit Symbols(AST &program); // with the system's symbols and types

    AST &program() const { return m_program; }

    GlobalSymbol *findGlobal(const QString &name);
    GlobalSymbol &addGlobal(const GlobalSymbol &symbol); // the name must be new, or a system constant's
    std::map<QString, GlobalSymbol> &globals() { return m_globals; }
    const std::map<QString, GlobalSymbol> &globals() const { return m_globals; }

    const CallableSymbol *findFunction(const QString &name) const;
    const CallableSymbol *findRoutine(const QString &name) const;
    const std::map<QString, CallableSymbol> &functions() const { return m_functions; }
    const std::map<QString, CallableSymbol> &routines() const { return m_routines; }
    bool addFunction(const CallableSymbol &symbol); // false: the name is taken
    bool addRoutine(const CallableSymbol &symbol);

    void nameType(const QString &name, int code) { m_typeCodes.emplace(normalisedName(name), code); }
    int typeCodeOf(const QString &name) const;      // built-in or of the program; -1: unknown
    QString typeText(const StaticType &type) const; // "char[]"

    /// The members of a structure type with their types, in the order of a list of initial values.
    std::vector<Parameter> membersOf(int code) const;
    void hideMembersOf(int code) { m_faultyTypes.insert(code); } // its declaration is faulty: any member may be right
    std::optional<StaticType> memberType(int code, const QString &name) const;

    QString closestGlobal(const QString &name, const QStringList &locals) const;
    QString closestFunction(const QString &name) const;
    QString closestRoutine(const QString &name) const;
    QString closestType(const QString &name) const;
    QString closestMember(int code, const QString &name) const;

private:
    QString closest(const QString &name, const QStringList &candidates) const;

    AST &m_program;
    mutable int m_candidatesLeft = 1000000;    // to be compared with misspelt names
    std::map<QString, GlobalSymbol> m_globals; // by normalised name
    std::map<QString, CallableSymbol> m_functions;
    std::map<QString, CallableSymbol> m_routines;
    std::map<QString, int> m_typeCodes;
    std::set<int> m_faultyTypes;
};

StaticType typeOf(const BasicType &value);

/// A symbol of the system that changes while a program runs: constant to the program, but no constant value.
bool isSystemVariable(const QString &name);

/// Whether a value of one type can be assigned to a variable of another. Unknown types pass.
bool canAssign(const StaticType &target, const StaticType &source);

/// "; did you mean 'x'?", or nothing for an empty name.
QString didYouMean(const QString &close);
