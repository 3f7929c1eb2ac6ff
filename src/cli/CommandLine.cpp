#include "cli/CommandLine.h"

#include "cli/CommandText.h"
#include "cli/WordLibrary.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>

namespace CommandLine {
namespace {
/// Whether a word is another with two letters swapped, or one left out, added or changed.
bool isSlip(const std::string &written, const std::string &word)
{
    const auto [ours, theirs] = std::mismatch(written.begin(), written.end(), word.begin(), word.end());
    const std::string_view restOfOurs(written.data() + (ours - written.begin()),
                                      static_cast<size_t>(written.end() - ours));
    const std::string_view rest(word.data() + (theirs - word.begin()), static_cast<size_t>(word.end() - theirs));
    if (restOfOurs.size() > 1 && rest.size() > 1 && restOfOurs[0] == rest[1] && restOfOurs[1] == rest[0]) {
        return restOfOurs.substr(2) == rest.substr(2);
    }
    const auto from = [](std::string_view text, size_t first) { return text.substr(std::min(first, text.size())); };
    return from(restOfOurs, 1) == rest || restOfOurs == from(rest, 1) || from(restOfOurs, 1) == from(rest, 1);
}

/// The library's words, but where they leave open what is meant.
std::string plainly(const CLI::App &app, const CLI::ParseError &error)
{
    const CLI::App *word = &app;
    std::string path;
    for (auto below = word->get_subcommands(); !below.empty(); below = word->get_subcommands()) {
        word = below.front();
        path += (path.empty() ? "" : " ") + word->get_name();
    }
    std::vector<std::string> words;
    for (const CLI::App *below : word->get_subcommands({})) {
        words.push_back(below->get_name());
    }
    const bool wantsWord = dynamic_cast<const CLI::RequiredError *>(&error) && word->get_require_subcommand_min() > 0 &&
                           word->get_subcommands().empty();
    if (wantsWord && !words.empty()) {
        return path + (path.empty() ? "" : " ") + "needs one of " + joined(words, ", ");
    }
    const bool isExtra = dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr;
    const std::string what = path.empty() ? "there is no such command or option: " : path + " does not know this: ";
    if (!isExtra) {
        return error.what();
    }
    const std::vector<std::string> extra = app.remaining(true);
    const auto meant = std::find_if(words.begin(), words.end(), [&extra](const std::string &known) {
        return !extra.empty() && isSlip(extra.front(), known);
    });
    return what + joined(extra, " ") + (meant != words.end() ? "; did you mean '" + *meant + "'?" : "");
}
} // namespace

std::variant<Good, Shown, Misuse> read(Word &program, std::vector<std::string> arguments)
{
    CLI::App &app = program.app();
    std::reverse(arguments.begin(), arguments.end()); // as the library wants them
    try {
        app.parse(arguments);
        return Good();
    } catch (const CLI::CallForHelp &) {
        return Shown{ app.help() };
    } catch (const CLI::Success &asked) {
        return Shown{ std::string(asked.what()) + '\n' };
    } catch (const CLI::ParseError &error) {
        return Misuse{ plainly(app, error), dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr };
    }
}

std::optional<int> parse(Word &program, int argc, char **argv,
                         const std::function<int(const std::string &what)> &refuse)
{
    const auto outcome = read(program, std::vector<std::string>(argv + std::min(argc, 1), argv + argc));
    if (const auto *shown = std::get_if<Shown>(&outcome)) {
        return show(program, *shown);
    }
    const auto *misuse = std::get_if<Misuse>(&outcome);
    return misuse ? std::optional(refuse(misuse->what)) : std::nullopt;
}

int show(const Word &program, const Shown &shown)
{
    errno = 0;
    if (std::fwrite(shown.text.data(), 1, shown.text.size(), stdout) == shown.text.size() && std::fflush(stdout) == 0) {
        return 0;
    }
    if (errno != EPIPE) {
        std::fprintf(stderr, "%s: cannot write the output: %s\n", program.app().get_name().c_str(),
                     std::strerror(errno));
    }
    return 1;
}

int guarded(const char *program, const std::function<int()> &run) noexcept
{
    try {
        return run();
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "%s: not enough memory\n", program);
        return 1;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return 1;
    }
}
} // namespace CommandLine
