#pragma once
#include "tools/arkc/lsp/Json.h"
#include "tools/arkc/lsp/OpenPrograms.h"

namespace arkc {
/// What an editor is told: a result, or why there is none.
struct Answer
{
    enum Code {
        ParseError = -32700,
        InvalidRequest = -32600,
        UnknownMethod = -32601,
        InvalidParameters = -32602,
        NotInitialised = -32002,
        Refused = -32803
    };
    Json result{};
    int code = 0; // 0: there is a result
    QString message{};

    static Answer error(Code code, const QString &message) { return { {}, code, message }; }
};

/// A place in a program that is open.
struct AskedPlace
{
    const OpenPrograms &open;
    const OpenProgram &program;
    int file = 0;
    SourcePosition place{};

    const NameIndex &names() const { return program.source.names; }
    const Sources &sources() const { return program.source.sources; }
};

// Each takes a request's place and its parameters.
Answer definition(const AskedPlace &asked, const Json &parameters);
Answer references(const AskedPlace &asked, const Json &parameters);
Answer hover(const AskedPlace &asked, const Json &parameters);
Answer completion(const AskedPlace &asked, const Json &parameters);
Answer outline(const AskedPlace &asked, const Json &parameters);
Answer prepareRename(const AskedPlace &asked, const Json &parameters);
Answer rename(const AskedPlace &asked, const Json &parameters);

QString uriOf(const OpenPrograms &open, const QString &key); // of a file

/// All places of what is meant at a place, in each program that reads its declaration.
struct NamedPlaces
{
    const OpenProgram *program;
    std::vector<SourceSpan> places; // the declaration among them
};
std::vector<NamedPlaces> placesOf(const AskedPlace &asked, const NameIndex::Use &use);
} // namespace arkc
