#pragma once
#include <string>
#include <variant>
#include <vector>

/// One step of a panel.
struct PanelAction
{
    enum class Kind { Push, Release, Level, Wait };
    Kind kind = Kind::Push;
    int code = 0;  // channel, or level code
    int value = 0; // of a level; of a wait: milliseconds
};

struct PanelScript
{
    std::vector<PanelAction> actions; // press is a push and a release
    bool watches = false;             // to the end, and shows what comes from the start
    bool readsInput = false;          // then the actions of standard input follow
};

/// Reads the words after the device number; otherwise a text says what is wrong with them.
std::variant<PanelScript, std::string> parsePanelScript(const std::vector<std::string> &words);

/// Reads a line of standard input: actions, nothing, or a comment after "#".
std::variant<PanelScript, std::string> parsePanelLine(const std::string &line);
