#pragma once
#include "compiler/Symbols.h"

/// A part of a file, in UTF-16 units; last is behind it.
struct SourceSpan
{
    int file = -1; // -1: nowhere
    int first = 0;
    int last = 0;

    bool isSomewhere() const { return file >= 0; }
    bool contains(SourcePosition place) const // also directly behind it, where a cursor may stand
    {
        return place.file == file && first <= place.offset && place.offset <= last;
    }
};

/// The names of a program and all places where each stands: what the questions of an editor are answered from. The
/// parsers tell it what they look up, so of a faulty program it knows what they could read.
class NameIndex
{
public:
    enum class Kind : quint8 {
        Variable,
        Constant,
        Local,
        Parameter,
        Member,
        Structure,
        Function,
        Routine,
        Block,   // START, MAINLINE, a handler or a part of one: has no uses
        Builtin, // a function of the library
        System,  // what else no source declares: a constant of the system, button, button.input
    };
    struct Thing
    {
        Kind kind{};
        QString name;
        QString declaration;                 // as the source writes it, without the braces behind it
        SourceSpan place{};                  // of the name where it is declared
        SourceSpan whole{};                  // the declaration, with its braces
        SourceSpan scope{};                  // of a local or a parameter: where it is known
        int structure = StaticType::Unknown; // the type code of a Structure, or of what a member belongs to
    };
    struct Use
    {
        SourceSpan place;
        size_t thing;
    };

    enum class Keep { Nothing, Everything };
    explicit NameIndex(Keep keep)
        : m_isKept(keep == Keep::Everything)
    {}

    bool isKept() const { return m_isKept; }
    const std::vector<Thing> &things() const { return m_things; }
    const Thing &thing(const Use &use) const { return m_things[use.thing]; }
    const std::vector<Use> &uses() const { return m_uses; } // in the order of their places, declarations among them
    std::optional<Use> useAt(SourcePosition place) const;
    /// The type code of what stands before a dot; Unknown: not read, or no structure.
    int structureBefore(SourcePosition dot) const;

    void declareSystem(const Symbols &symbols); // first: the names that no source declares
    /// Declared in the program. \param head  what stands before the name; \param shown  from the name on
    void declare(Kind kind, const TokenCursor &cursor, TokenRange head, TokenRange shown,
                 int structure = StaticType::Unknown);
    void extend(const TokenCursor &cursor, size_t name, size_t last); // the declaration ends behind the token
    void block(const TokenCursor &cursor, TokenRange head, size_t last);
    void endScope(SourcePosition declared, SourcePosition end);

    void use(const Token &name, SourcePosition declared);
    void useSystem(Kind kind, const Token &name);
    void dot(const Token &dot, const StaticType &type); // behind a value of that type
    void useMember(const Token &name, int structure);
    void finish(); // last: before it, there are no uses

private:
    using Place = std::pair<int, int>; // file and offset
    Thing *declaredAt(SourcePosition place);
    void addSystem(Kind kind, const QString &name, const QString &declaration, int structure = StaticType::Unknown);
    void addUse(const Token &name, size_t thing);

    bool m_isKept;
    std::vector<Thing> m_things;
    std::vector<Use> m_uses;
    std::map<Place, size_t> m_declared;
    std::map<Place, int> m_dots;
    std::map<std::pair<int, QString>, size_t> m_members; // by structure and normalised name
    std::map<std::pair<Kind, QString>, size_t> m_system; // by normalised name
};
