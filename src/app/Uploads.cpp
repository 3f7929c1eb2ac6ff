#include "app/Uploads.h"

#include <QTimer>

Uploads::Uploads(const TransferPaths &paths, const QString &webFolder, Actions actions, QObject &timing)
    : m_actions(std::move(actions))
    , m_timing(timing)
    , m_unpacker(webFolder)
    , m_files(paths, [this](const TransferTarget &target) { arrived(target); })
    , m_service(m_files)
{}

template <class Job>
void Uploads::actLater(Job job)
{
    const auto startTimer = [this, job] { QTimer::singleShot(kActAfterMs, &m_timing, job); };
    QMetaObject::invokeMethod(&m_timing, startTimer, Qt::QueuedConnection);
}

void Uploads::arrived(const TransferTarget &target)
{
    if (target.kind == TransferKind::Object) {
        m_hasNewProgram = true;
        actLater([this, via = target.via] { endProgram(via); });
    } else if (target.kind == TransferKind::WebArchive) {
        actLater([this, target] { m_unpacker.unpack(target.path, target.name); });
    }
}

void Uploads::endProgram(TransferVia via)
{
    m_actions.stopProgram();
    const auto end = via == TransferVia::Console ? m_actions.reboot : m_actions.restart;
    QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
}
