#pragma once
#include "tools/arkctl/ControllerInfo.h"
#include "tools/arkctl/LinkRun.h"
#include <QDateTime>

#include <functional>

/// Asks the controller for what it says of itself. With nothing else to do it shows that; else it goes on with it.
/// Owns, Thread, Ends: as LinkRun.
class InfoRun : public LinkRun
{
    Q_OBJECT
public:
    explicit InfoRun(const RunOptions &options);

protected:
    void begin() override { ask(); }
    void ask();
    virtual void take(const ControllerInfo &info) = 0;
};

/// arkctl info. Owns, Thread, Ends: as LinkRun.
class InfoCommand final : public InfoRun
{
    Q_OBJECT
public:
    InfoCommand(const RunOptions &options, Rendering::Form form)
        : InfoRun(options)
        , m_form(form)
    {}

protected:
    void take(const ControllerInfo &info) override;

private:
    const Rendering::Form m_form;
};

/// arkctl sysnum: gives the controller a system number and sees whether it has it. Owns, Thread, Ends: as LinkRun.
class SystemNumberCommand final : public InfoRun
{
    Q_OBJECT
public:
    SystemNumberCommand(const RunOptions &options, int number)
        : InfoRun(options)
        , m_number(number)
    {}

protected:
    void begin() override;
    void take(const ControllerInfo &info) override;

private:
    const int m_number;
};

/// arkctl network, mac and reboot: tells the controller something that makes it start again, and sees it go.
/// Owns, Thread, Ends: as LinkRun.
class RestartingCommand final : public InfoRun
{
    Q_OBJECT
public:
    /// The text to send, made from what the controller says of itself.
    using Text = std::function<QByteArray(const ControllerInfo &info)>;

    RestartingCommand(const RunOptions &options, Text text, const std::string &saidWhenDone);

protected:
    void take(const ControllerInfo &info) override;
    void lost() override;

private:
    const Text m_text;
    const std::string m_saidWhenDone;
    bool m_isSent = false;
};

/// arkctl datetime: shows the controller's clock, after it was set and has been looked at again.
/// Owns, Thread, Ends: as LinkRun.
class DateTimeCommand final : public LinkRun
{
    Q_OBJECT
public:
    /// \param wanted  invalid: only show
    DateTimeCommand(const RunOptions &options, const QDateTime &wanted);

protected:
    void begin() override;

private:
    void take(const QByteArray &reply);
    void askLater();

    const QDateTime m_wanted;
    int m_looks = 0;
};
