#include "app/Uploads.h"

#include <QTimer>

Uploads::Uploads(const TransferPaths &paths, Actions actions, QObject &timing)
    : m_actions(std::move(actions))
    , m_timing(timing)
    , m_files(paths, [this](const TransferTarget &target) { arrived(target); })
    , m_service(m_files)
{
    m_files.removeLeftovers();
}

void Uploads::arrived(const TransferTarget &target)
{
    if (target.kind != TransferKind::Object) {
        return;
    }
    m_hasNewProgram = true;
    const auto startTimer = [this] { QTimer::singleShot(kActAfterMs, &m_timing, [this] { restart(); }); };
    QMetaObject::invokeMethod(&m_timing, startTimer, Qt::QueuedConnection);
}

void Uploads::restart()
{
    m_actions.stopProgram();
    QMetaObject::invokeMethod(
        this, [this] { m_actions.restart(); }, Qt::QueuedConnection);
}
