#include "cli/Word.h"

#include "cli/CommandLine.h"
#include "cli/HelpText.h"
#include "cli/WordLibrary.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <optional>
#include <sstream>

namespace CommandLine {
namespace {
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
} // namespace

const Explanation *explanationOf(const CLI::App &word)
{
    const auto *help = dynamic_cast<const Help *>(word.get_formatter().get());
    return help ? help->explanationOf(word) : nullptr;
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

Word::Word()
    : m_own(std::make_unique<CLI::App>())
    , m_app(m_own.get())
{}

Word::Word(CLI::App *app)
    : m_app(app)
{}

Word::~Word() = default;

void Word::introduce(const std::string &program, const std::string &brief)
{
    m_app->name(program);
    m_app->description(brief);
}

void Word::explain(const Explanation &explanation)
{
    m_app->formatter(std::make_shared<Help>(*m_app, explanation));
    if (m_own) {
        m_app->set_help_flag("-h,--help", "Show this help");
    }
}

Word *Word::addWord(const std::string &name, const std::string &brief)
{
    m_words.emplace_back(new Word(m_app->add_subcommand(name, brief)));
    return m_words.back().get();
}

template <class Value>
Option Word::add(const std::string &names, Value &value, const std::string &brief)
{
    return Option(m_app->add_option(names, value, brief));
}

template Option Word::add(const std::string &, int &, const std::string &);
template Option Word::add(const std::string &, std::uint32_t &, const std::string &);
template Option Word::add(const std::string &, double &, const std::string &);
template Option Word::add(const std::string &, std::optional<double> &, const std::string &);
template Option Word::add(const std::string &, std::string &, const std::string &);
template Option Word::add(const std::string &, std::optional<int> &, const std::string &);
template Option Word::add(const std::string &, std::optional<std::string> &, const std::string &);
template Option Word::add(const std::string &, std::vector<std::string> &, const std::string &);

void Word::addFlag(const std::string &names, bool &isGiven, const std::string &brief)
{
    m_app->add_flag(names, isGiven, brief);
}

void Word::addVersion(const std::string &names, const std::string &text)
{
    m_app->set_version_flag(names, text.empty() ? m_app->get_name() + ' ' + version() : text)
        ->description("Show the version");
}

void Word::needsWord(bool isNeeded)
{
    m_app->require_subcommand(isNeeded ? 1 : 0, 1);
}

void Word::takesOptionsAbove()
{
    m_app->fallthrough();
}

bool Word::isGiven() const
{
    return m_app->parsed();
}

bool Word::has(const std::string &option) const
{
    return m_app->count(option) > 0;
}

const Option &Option::named(const std::string &value) const
{
    m_option->type_name(value);
    return *this;
}

const Option &Option::required() const
{
    m_option->required();
    return *this;
}

const Option &Option::exactly(int count) const
{
    m_option->expected(count);
    return *this;
}

const Option &Option::oneValueEach() const
{
    m_option->allow_extra_args(false);
    return *this;
}

const Option &Option::lastCounts() const
{
    m_option->take_last();
    return *this;
}

const Option &Option::partedByCommas() const
{
    m_option->delimiter(',');
    return *this;
}

const Option &Option::oneOf(const std::vector<std::string> &values) const
{
    const auto problem = [values](std::string &word) {
        return std::find(values.begin(), values.end(), word) != values.end()
                   ? std::string()
                   : word + " is none of " + joined(values, ", ");
    };
    return check({ problem, '{' + joined(values, ",") + '}' });
}

const Option &Option::suggests(const std::vector<std::string> &values) const
{
    return check({ [](std::string &) { return std::string(); }, '{' + joined(values, ",") + '}' });
}

const Option &Option::between(double lowest, double highest) const
{
    std::ostringstream range;
    range << std::setprecision(10) << " is no number from " << lowest << " to " << highest;
    const auto problem = [lowest, highest, text = range.str()](std::string &word) {
        double number = 0;
        const bool fits = CLI::detail::lexical_cast(word, number) && number >= lowest && number <= highest;
        return fits ? std::string() : word + text;
    };
    return check({ problem, std::string() });
}

const Option &Option::files(std::initializer_list<const char *> suffixes) const
{
    std::string mark = kFilesMark;
    for (const char *suffix : suffixes) {
        mark += std::string(" ") + suffix;
    }
    return check(marked(mark));
}

const Option &Option::folder() const
{
    return check(marked(kFolderMark));
}

const Option &Option::check(const CLI::Validator &validator) const
{
    m_option->check(validator);
    return *this;
}
} // namespace CommandLine
