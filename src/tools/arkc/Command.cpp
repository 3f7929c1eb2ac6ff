#include "tools/arkc/Command.h"

namespace arkc {
std::vector<Command> describeCommandLine(CLI::App &app)
{
    app.description("Compiles control programs into object files, checks and lays out their sources, and writes\n"
                    "object files back as source.");
    app.set_version_flag("--version", "arkc " ARKC_VERSION);
    app.require_subcommand(0, 1);
    app.footer("Ends with 0 when all is done; 1 when a source has errors, or a file cannot be read; 2 when it was\n"
               "called wrongly, or the result cannot be written.\n\n"
               "Examples:\n"
               "  arkc build room.src                     writes room.pobj beside the source\n"
               "  arkc build room.src -o program.pobj\n"
               "  arkc check room.src                     the same checks, nothing is written\n"
               "  arkc check room.src --format json       for editors\n"
               "  arkc fmt room.src projector.src         lays the sources out in the one common way\n"
               "  arkc dump program.pobj > room.src       an object file back as source");
    return { buildCommand(app), checkCommand(app), dumpCommand(app), formatCommand(app) };
}

Outcome wrongUse(const std::string &what)
{
    complain(QString::fromStdString(what), QStringLiteral("see arkc --help"));
    return Outcome::WrongUse;
}
} // namespace arkc
