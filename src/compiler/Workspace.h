#pragma once
#include "compiler/Constants.h"
#include "compiler/NameIndex.h"
#include "compiler/PlaceNotes.h"
#include "compiler/Symbols.h"
#include "compiler/lexing/TokenCursor.h"

#include <map>

/// The variables of the blocks that surround a statement, with the event's data and the parameters.
class LocalScope
{
public:
    enum class Kind { Variable, Parameter, EventData };
    struct Local
    {
        QString name;
        StaticType type{};
        SourcePosition position{};
        Kind kind = Kind::Variable;
        int size = -1; // of the outermost dimension; 0: not bounded, -1: none or unknown
        bool isUsed = false;
    };

    Local *find(const QString &name);
    void add(const Local &local) { m_locals.push_back(local); }
    QStringList names() const;

    void openBlock() { m_blockStarts.push_back(m_locals.size()); }
    std::vector<Local> closeBlock(); // what was declared in it

private:
    std::vector<Local> m_locals;
    std::vector<size_t> m_blockStarts;
};

/// Lists of constants in the program's code. Each becomes a constant array under a name that no program can write;
/// equal lists share one.
class HiddenLists
{
public:
    explicit HiddenLists(AST &program)
        : m_program(program)
    {}

    static bool isHiddenName(const QString &name) { return name.startsWith(QLatin1Char('{')); }

    /// The name of the array. Lists of numbers and texts are flattened, unless isStructured, into DOUBLE elements;
    /// in others each item is an element, of its own kind. Empty: a device stands behind a text or list.
    QString nameOf(const Constant &list, bool isStructured);

private:
    std::unique_ptr<BasicType> makeElement(const Constant &item) const;
    std::unique_ptr<Array> makeStructured(const Constant &list) const;

    AST &m_program;
    std::map<QByteArray, QString> m_names; // by the array's record
};

struct Checks;

/// What the parsers of one compilation share.
struct Workspace
{
    Sources &sources;
    TokenCursor &cursor;
    Symbols &symbols;
    ConstantEvaluator &constants;
    HiddenLists &hiddenLists;
    NameIndex &names;
    Checks *checks = nullptr; // set before anything is parsed
    LocalScope locals{};
    PlaceNotes places{};
    int pathHeight = 0;             // of the nodes around what is being read, in the object file
    int recursion = 0;              // of the parser itself
    bool inInitialValue = false;    // of a global: no hidden lists are made there
    bool metFaultyConstant = false; // the value of one was asked for that has none; that was reported
    bool tooDeep = false;           // said once; nothing more is read then

    void noteUse(const Token &name, const LocalScope::Local &local);
    void noteUse(const Token &name, const GlobalSymbol &global);
};
