#include "tools/arkc/Report.h"

#include "tools/arkc/Console.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <unistd.h>

namespace arkc {
namespace {
Colour wantedColour()
{
    return isatty(STDERR_FILENO) && !qEnvironmentVariableIsSet("NO_COLOR") ? Colour::Yes : Colour::No;
}

std::string counted(int count, const char *word)
{
    return std::to_string(count) + ' ' + word + (count == 1 ? "" : "s");
}

nlohmann::ordered_json jsonOf(const Diagnostic &diagnostic)
{
    return { { "file", diagnostic.file.toStdString() },
             { "line", diagnostic.line },
             { "column", diagnostic.column },
             { "endLine", diagnostic.line },
             { "endColumn", diagnostic.column + diagnostic.length },
             { "severity", diagnostic.isError() ? "error" : "warning" },
             { "code", diagnostic.code.toStdString() },
             { "message", diagnostic.message.toStdString() } };
}
} // namespace

void Report::add(const std::vector<Diagnostic> &diagnostics)
{
    for (const Diagnostic &diagnostic : diagnostics) {
        if (m_form == Form::Text) {
            std::cerr << textOf(diagnostic, wantedColour()).toStdString();
        }
        m_diagnostics.push_back(diagnostic);
    }
}

bool Report::finish()
{
    if (m_form == Form::Json) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const Diagnostic &diagnostic : m_diagnostics) {
            list.push_back(jsonOf(diagnostic));
        }
        return print(QByteArray::fromStdString(nlohmann::ordered_json{ { "diagnostics", list } }.dump(2) + '\n'));
    }
    const bool isAboutPlaces = std::any_of(m_diagnostics.begin(), m_diagnostics.end(),
                                           [](const Diagnostic &diagnostic) { return diagnostic.line > 0; });
    if (isAboutPlaces) {
        const int errors = errorCount(m_diagnostics);
        std::cerr << counted(errors, "error") << ", "
                  << counted(static_cast<int>(m_diagnostics.size()) - errors, "warning") << '\n';
    }
    return true;
}

void addFormatOption(CommandLine::Word &word, std::string &format)
{
    word.add("--format", format, "How to report: text on standard error, or json on standard output (text)")
        .named("FORMAT")
        .oneOf({ "text", "json" });
}
} // namespace arkc
