#pragma once
#include "tools/arkctl/LinkRun.h"

#include <nlohmann/json.hpp>

/// A command that asks about the program that runs, as often as it likes: docs/formats/questions.md.
/// Owns, thread, end: as LinkRun.
class ProgramQuestion : public LinkRun
{
    Q_OBJECT
public:
    using Json = nlohmann::ordered_json;

protected:
    explicit ProgramQuestion(const RunOptions &options);

    void ask(const Json &question);            // its "ask" says which
    virtual void take(const Json &answer) = 0; // to the last one asked, when it is no error
    void unanswered() override;

    /// On one line, with nothing that a terminal would act on.
    static std::string dump(const Json &object) { return object.dump(-1, ' ', true, Json::error_handler_t::replace); }

private:
    std::string m_asked;
};
