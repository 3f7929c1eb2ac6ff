#include "app/Options.h"
#include "cli/BashCompletion.h"
#include "cli/FishCompletion.h"
#include "cli/ManPage.h"
#include "cli/ZshCompletion.h"
#include "tools/arkc/Command.h"
#include "tools/arkctl/Program.h"
#include "tools/arkhost/HostCommandLine.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {
using namespace CommandLine;

constexpr char kSystem[] = "Arkivon " ARKIVON_VERSION;

struct Program
{
    const char *name;
    int section;
    void (*describe)(Word &app);
};

/// Somewhere for the values of a command line that nobody gives and nobody reads.
template <class Values>
Values &unread()
{
    static Values values;
    return values;
}

/// Every program. A new one is a row here, and its library in CMakeLists.txt.
constexpr Program kPrograms[] = {
    { "arkivon", 8, describeController },
    { "arkctl", 1, [](Word &app) { describeProgram(app, unread<CommonOptions>()); } },
    { "arkc", 1, [](Word &app) { arkc::describeCommandLine(app); } },
    { "arkhost", 1, [](Word &app) { describeHost(app, unread<HostCommandLine>()); } },
};

bool write(const std::filesystem::path &path, const std::string &text)
{
    std::error_code ignored; // the file cannot be opened then
    std::filesystem::create_directories(path.parent_path(), ignored);
    std::ofstream file(path, std::ios::binary);
    file << text << std::flush;
    if (!file) {
        std::fprintf(stderr, "command_pages: cannot write %s\n", path.c_str());
    }
    return !!file;
}

bool writePages(const Program &program, const std::filesystem::path &folder)
{
    Word app;
    program.describe(app);
    const CommandText text = describe(app);
    bool isWritten = write(folder / "bash-completion/completions" / text.line, bashCompletion(text));
    isWritten = write(folder / "zsh/vendor-completions" / ('_' + text.line), zshCompletion(text)) && isWritten;
    isWritten = write(folder / "fish/vendor_completions.d" / (text.line + ".fish"), fishCompletion(text)) && isWritten;
    const std::filesystem::path section = folder / "man" / ("man" + std::to_string(program.section));
    for (const ManPage &page : manPages(text, program.section, kSystem)) {
        isWritten = write(section / page.fileName, page.text) && isWritten;
    }
    return isWritten;
}

int run(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("Usage: command_pages FOLDER\n", stderr);
        return 2;
    }
    bool isWritten = true;
    for (const Program &program : kPrograms) {
        isWritten = writePages(program, argv[1]) && isWritten;
    }
    return isWritten ? 0 : 1;
}
} // namespace

int main(int argc, char **argv)
{
    return guarded("command_pages", [=] { return run(argc, argv); });
}
