#pragma once
#include "net/porttest/PortTestMessage.h"
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/Rendering.h"

#include <optional>
#include <variant>
#include <vector>

/// What the controller is to play, and what it is to say once it is connected or listens.
struct PortTestPlan
{
    PortTest::Start start;
    std::vector<QByteArray> texts;
    std::optional<int> watchMs; // nothing: until interrupted
};

/// Reads the words after "porttest" and the texts of --send, in which \r, \n, \t, \\ and \xHH stand for bytes.
/// A server has no host. A sentence about what is wrong otherwise.
std::variant<PortTestPlan, std::string> parsePortTest(const std::vector<std::string> &words,
                                                      const std::vector<std::string> &texts);

/// arkctl porttest: lets the controller be a client or a server, and shows what it hears.
/// Owns, Thread, Ends: as LinkRun.
class PortTestCommand final : public LinkRun
{
    Q_OBJECT
public:
    PortTestCommand(const RunOptions &options, const PortTestPlan &plan, Rendering::Form form);

protected:
    void begin() override;

private:
    void take(const PortTest::Report &report);
    void takeState(bool isOn);
    void say(const PortTest::Request &request);

    const PortTestPlan m_plan;
    const Rendering::Form m_form;
    bool m_wasOn = false;
};
