#include "cli/CommandLine.h"

#include "cli/CommandText.h"
#include "cli/HelpText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <new>
#include <sstream>
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

constexpr char kFilesMark[] = "files";
constexpr char kFolderMark[] = "folder";

/// Shows help, and keeps the explanation of the word that it was made for.
class Help : public CLI::FormatterBase
{
public:
    Help(const CLI::App &word, const Explanation &explanation)
        : m_word(&word)
        , m_explanation(explanation)
    {}

    std::string make_help(const CLI::App *word, std::string /*name*/, CLI::AppFormatMode) const override
    {
        return helpText(describe(*word));
    }

    const Explanation *explanationOf(const CLI::App &word) const { return &word == m_word ? &m_explanation : nullptr; }

private:
    const CLI::App *m_word; // words below it have this formatter too
    const Explanation m_explanation;
};

std::vector<std::string> split(const std::string &text, char between)
{
    std::vector<std::string> words;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(between, at), text.size());
        words.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

CLI::Validator marked(const std::string &mark)
{
    CLI::Validator check([](std::string &) { return std::string(); }, "");
    check.name(mark);
    return check;
}

std::vector<const CLI::Validator *> checksOf(const CLI::Option &option)
{
    auto &open = const_cast<CLI::Option &>(option); // the library lets one read them there only
    std::vector<const CLI::Validator *> checks;
    try {
        for (int index = 0;; ++index) {
            checks.push_back(open.get_validator(index));
        }
    } catch (const CLI::OptionNotFound &) { // after the last
        return checks;
    }
}

/// "{a,b}": how the library's own CLI::IsMember describes itself too.
bool isSet(const std::string &description)
{
    return description.size() >= 2 && description.front() == '{' && description.back() == '}';
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

void explain(CLI::App &word, const Explanation &explanation)
{
    word.formatter(std::make_shared<Help>(word, explanation));
    if (!word.get_parent()) {
        word.set_help_flag("-h,--help", "Show this help");
    }
}

const Explanation *explanationOf(const CLI::App &word)
{
    const auto *help = dynamic_cast<const Help *>(word.get_formatter().get());
    return help ? help->explanationOf(word) : nullptr;
}

CLI::Validator oneOf(const std::vector<std::string> &values)
{
    const auto check = [values](std::string &word) {
        return std::find(values.begin(), values.end(), word) != values.end()
                   ? std::string()
                   : word + " is none of " + joined(values, ", ");
    };
    return { check, '{' + joined(values, ",") + '}' };
}

CLI::Validator suggests(const std::vector<std::string> &values)
{
    return { [](std::string &) { return std::string(); }, '{' + joined(values, ",") + '}' };
}

CLI::Validator between(double lowest, double highest)
{
    std::ostringstream range;
    range << std::setprecision(10) << " is no number from " << lowest << " to " << highest;
    const auto check = [lowest, highest, problem = range.str()](std::string &word) {
        double number = 0;
        const bool fits = CLI::detail::lexical_cast(word, number) && number >= lowest && number <= highest;
        return fits ? std::string() : word + problem;
    };
    return { check, std::string() };
}

CLI::Validator files(std::initializer_list<const char *> suffixes)
{
    std::string mark = kFilesMark;
    for (const char *suffix : suffixes) {
        mark += std::string(" ") + suffix;
    }
    return marked(mark);
}

CLI::Validator folder()
{
    return marked(kFolderMark);
}

Completion completionOf(const CLI::Option &option)
{
    Completion completion;
    for (const CLI::Validator *check : checksOf(option)) {
        const std::string description = check->get_description();
        std::vector<std::string> mark = split(check->get_name(), ' ');
        if (isSet(description)) {
            completion.values = split(description.substr(1, description.size() - 2), ',');
        } else if (!mark.empty() && mark.front() == kFilesMark) {
            completion.isFile = true;
            completion.suffixes.assign(mark.begin() + 1, mark.end());
        } else if (!mark.empty() && mark.front() == kFolderMark) {
            completion.isFolder = true;
        }
    }
    return completion;
}

std::string valueName(const CLI::Option &option)
{
    std::string name = option.get_type_name();
    for (const CLI::Validator *check : checksOf(option)) { // the library appends what they say of themselves
        const std::string description = check->get_description();
        const size_t at = description.empty() ? std::string::npos : name.rfind(':' + description);
        if (at != std::string::npos) {
            name.erase(at, description.size() + 1);
        }
    }
    return name;
}

std::optional<int> parse(CLI::App &app, int argc, char **argv,
                         const std::function<int(const std::string &what)> &refuse)
{
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::Success &asked) {
        return show(app, asked);
    } catch (const CLI::ParseError &error) {
        return refuse(plainly(app, error));
    }
}

int show(const CLI::App &app, const CLI::Success &asked)
{
    errno = 0;
    app.exit(asked);
    std::cout.flush();
    if (std::cout && std::fflush(stdout) == 0) {
        return 0;
    }
    if (errno != EPIPE) {
        std::fprintf(stderr, "%s: cannot write the output: %s\n", app.get_name().c_str(), std::strerror(errno));
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
void addVersion(CLI::App &app)
{
    app.set_version_flag("--version", app.get_name() + ' ' + version())->description("Show the version");
}

bool isGiven(const CLI::App &word)
{
    return word.parsed();
}
} // namespace CommandLine
