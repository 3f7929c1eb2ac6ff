#pragma once
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/Rendering.h"
#include <QStringList>

class QTimer;

/// What to do with the list of controllers that a controller listens to, before it is shown.
struct ListChange
{
    enum class Kind { None, Add, Remove };
    Kind kind = Kind::None;
    QStringList addresses{}; // IPv4, in normal form
};

/// The list after the change. An address to be removed that is not there is named in missing.
QStringList changedList(const QStringList &list, const ListChange &change, QStringList &missing);

/// arkctl listen: shows the list with the state of each link, after addresses were added or removed.
/// Owns, Thread, Ends: as LinkRun.
class ListenCommand final : public LinkRun
{
    Q_OBJECT
public:
    ListenCommand(const RunOptions &options, const ListChange &change, Rendering::Form form, const QByteArray &version);

protected:
    void begin() override;

private:
    void take(const QByteArray &reply);
    void changeList(const QStringList &list);
    void show(const QByteArray &statusStream);

    const ListChange m_change;
    const Rendering::Form m_form;
    QTimer *m_patience = nullptr; // Qt child
};

/// arkctl sysnum: gives the controller a system number and sees whether it has it.
/// Owns, Thread, Ends: as LinkRun.
class SystemNumberCommand final : public LinkRun
{
    Q_OBJECT
public:
    SystemNumberCommand(const RunOptions &options, int number, const QByteArray &version);

protected:
    void begin() override;

private:
    const int m_number;
};
