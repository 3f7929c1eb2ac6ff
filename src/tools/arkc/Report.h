#pragma once
#include "cli/CommandLine.h"
#include "compiler/Diagnostics.h"

namespace arkc {
/// What the compiler has to say, for people or for programs.
/// Owns: nothing but values.
class Report
{
public:
    enum class Form { Text, Json };
    explicit Report(Form form)
        : m_form(form)
    {}

    /// Text goes to standard error at once; JSON is kept for finish().
    void add(const std::vector<Diagnostic> &diagnostics);

    /// The numbers of errors and warnings, or the JSON on standard output. False: it could not be written.
    bool finish();

private:
    Form m_form;
    std::vector<Diagnostic> m_diagnostics;
};

/// An option --format with text and json.
void addFormatOption(CommandLine::Word &word, std::string &format);
inline Report::Form formOf(const std::string &format)
{
    return format == "json" ? Report::Form::Json : Report::Form::Text;
}
} // namespace arkc
