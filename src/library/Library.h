#pragma once
#include "interp/Builtin.h"

#include <QString>

#include <memory>
#include <span>
#include <vector>

class AST;

/// Whether a built-in is known by its name in lower case too.
enum class Alias : quint8 { None, Lower };

/// The declared type of a built-in's result. None: whatever value it builds.
enum class ResultKind : quint8 { None, Number, Array };

constexpr int kAnyNumber = -1; // of arguments

/// One row of the table of built-ins.
struct Builtin
{
    const char *name; // as registered; programs write it in any case
    Alias alias;
    ResultKind result;
    int leastArguments; // in a call that makes sense; the built-in itself reports or makes do with fewer
    int mostArguments;  // or kAnyNumber
    std::unique_ptr<BuiltinFunction> (*make)(const QString &name); // nullptr: not in this version

    bool isAvailable() const { return make != nullptr; }
    bool takes(int argumentCount) const
    {
        return argumentCount >= leastArguments && (mostArguments == kAnyNumber || argumentCount <= mostArguments);
    }
};

/// The built-ins of one program.
/// Owns: their objects. Thread: the main thread. Ends: with the program, after the interpreter that calls them.
class Library
{
public:
    Library(); // makes every built-in that this version has
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    static std::span<const Builtin> table();         // in registration order
    static const Builtin *find(const QString &name); // any case, blanks around it allowed; nullptr: no built-in

    const std::vector<std::unique_ptr<BuiltinFunction>> &functions() const { return m_functions; }

    void registerIn(AST &program) const;

private:
    std::vector<std::unique_ptr<BuiltinFunction>> m_functions;
};
