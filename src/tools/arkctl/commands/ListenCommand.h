#pragma once
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/Rendering.h"
#include <QStringList>

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
    ListenCommand(const RunOptions &options, const ListChange &change, Rendering::Form form);

protected:
    void begin() override;

private:
    void take(const QByteArray &reply);
    void changeList(const QStringList &list);
    void show(const QByteArray &statusStream);

    const ListChange m_change;
    const Rendering::Form m_form;
};
