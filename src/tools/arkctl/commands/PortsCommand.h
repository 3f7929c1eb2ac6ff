#pragma once
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/Rendering.h"

/// arkctl ports: shows the controller's own ports, after it has asked for something about one of them.
/// Owns, Thread, Ends: as LinkRun.
class PortsCommand final : public LinkRun
{
    Q_OBJECT
public:
    PortsCommand(const RunOptions &options, const QByteArray &request, Rendering::Form form);

protected:
    void begin() override;

private:
    void take(const QByteArray &reply);

    const QByteArray m_request;
    const Rendering::Form m_form;
    bool m_isAnswered = false;
};
