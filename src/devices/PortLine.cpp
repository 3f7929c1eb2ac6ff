#include "devices/PortLine.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "devices/PortsThread.h"
#include "devices/SerialLine.h"
#include "io/Backlog.h"

#include <QDeadlineTimer>
#include <QPointer>

namespace {
constexpr int kReadTogether = 4096; // the most that is handed over at once
} // namespace

/// The part of a PortLine on the ports thread.
/// Owns: the line (a Qt child). Thread: the ports thread; what says so on any.
/// Ends: on its thread, after its port line.
class PortLineWorker : public QObject, public PausableReader, public std::enable_shared_from_this<PortLineWorker>
{
public:
    PortLineWorker(PortLine &owner, PortLine::Input input, PortsThread &thread, Backlog &backlog)
        : m_port(&owner)
        , m_input(input)
        , m_thread(thread)
        , m_backlog(backlog)
        , m_line(new SerialLine(owner.health().device(), this))
    {
        connect(m_line, &SerialLine::readyRead, this, &PortLineWorker::readAvailable);
        connect(m_line, &SerialLine::bytesWritten, this, [this](qint64 bytes) {
            m_written += bytes;
            settle(bytes);
        });
        connect(m_line, &SerialLine::opened, this, [this] { onMainThread([](PortLine &port) { port.takeOpen(); }); });
        connect(m_line, &SerialLine::failed, this, [this](const QString &reason) { tellFailed(reason); });
        connect(m_line, &SerialLine::refused, this, [this](const QString &reason) {
            onMainThread([reason](PortLine &port) { port.m_health.complain(reason); });
        });
        connect(m_line, &SerialLine::lost, this, [this] {
            onMainThread([](PortLine &port) { port.takeLoss(); });
            if (m_inLine > 0) {
                tellUnsent(m_inLine);
                settle(m_inLine);
            }
        });
    }

    /// \name On any thread.
    qint64 waiting() const { return m_waiting; }
    qint64 written() const { return m_written; }
    void addWaiting(qint64 bytes) { m_waiting += bytes; }
    /// What was not sent since that was asked last.
    std::pair<qint64, int> takeUnsent() { return { m_unsentBytes.exchange(0), m_unsentTimes.exchange(0) }; }

    void open()
    {
        if (const std::optional<QString> problem = m_line->open()) {
            tellFailed(*problem);
        } else {
            onMainThread([](PortLine &port) { port.takeOpen(); });
        }
    }
    void setUp(const SerialSetup &setup) { m_line->setUp(setup); }
    void write(const QByteArray &data)
    {
        if (m_line->isOpen()) {
            m_inLine += data.size();
            m_line->write(data);
        } else {
            m_waiting -= data.size();
            tellUnsent(data.size());
        }
    }
    void finishWriting(int timeoutMs)
    {
        const QDeadlineTimer end(timeoutMs);
        while (m_line->bytesToWrite() > 0 && m_line->waitForBytesWritten(static_cast<int>(end.remainingTime()))) {
        }
    }

    void setReading(bool isReading) override
    {
        m_isReading = isReading;
        if (isReading) {
            QMetaObject::invokeMethod(this, &PortLineWorker::readAvailable, Qt::QueuedConnection);
        }
    }

private:
    void readAvailable()
    {
        while (m_isReading || m_input == PortLine::Input::Always) {
            const QByteArray data = m_line->read(kReadTogether);
            if (data.isEmpty()) {
                return;
            }
            m_thread.heard(this);
            const bool isPausable = m_input == PortLine::Input::WhileFollowed;
            const bool isTaken = m_backlog.post(isPausable ? shared_from_this() : nullptr, data.size(),
                                                Backlog::Kind::Request, [port = m_port, data] {
                                                    if (port) {
                                                        Q_EMIT port->received(data);
                                                    }
                                                });
            if (!isTaken && !m_hasLost) {
                onMainThread([](PortLine &port) {
                    port.m_health.complain(
                        translated(QT_TRANSLATE_NOOP("messages", "the program does not follow: data is lost")));
                });
            }
            m_hasLost = !isTaken;
        }
    }

    void settle(qint64 bytes)
    {
        m_inLine -= bytes;
        m_waiting -= bytes;
    }

    void tellUnsent(qint64 bytes)
    {
        m_unsentBytes += bytes;
        if (m_unsentTimes++ > 0) {
            return; // a program that sends and sends piles up nothing
        }
        onMainThread([](PortLine &port) { port.takeUnsent(); });
    }

    void tellFailed(const QString &reason)
    {
        onMainThread([reason](PortLine &port) { port.takeFailure(reason); });
    }

    /// In the order of what was read.
    template <class Job>
    void onMainThread(Job job)
    {
        m_backlog.post(nullptr, 0, Backlog::Kind::NeverRefuse, [port = m_port, job] {
            if (port) {
                job(*port);
            }
        });
    }

    const QPointer<PortLine> m_port; // looked at on the main thread
    const PortLine::Input m_input;
    PortsThread &m_thread;
    Backlog &m_backlog;
    SerialLine *m_line = nullptr;       // Qt child
    qint64 m_inLine = 0;                // bytes that it has not written
    std::atomic<qint64> m_waiting{ 0 }; // and those that are on the way to it
    std::atomic<qint64> m_written{ 0 };
    std::atomic<qint64> m_unsentBytes{ 0 }; // and how often, not told of yet
    std::atomic<int> m_unsentTimes{ 0 };
    std::atomic<bool> m_isReading{ true };
    bool m_hasLost = false;
};

PortLine::PortLine(const QString &name, const QString &deviceFile, Input input, PortsThread &thread, Backlog &backlog,
                   QObject *parent)
    : QObject(parent)
    , m_health(name, deviceFile)
    , m_worker(new PortLineWorker(*this, input, thread, backlog), [](PortLineWorker *worker) { worker->deleteLater(); })
{
    m_worker->moveToThread(&thread);
}

PortLine::~PortLine() = default;

void PortLine::open()
{
    QMetaObject::invokeMethod(m_worker.get(), [worker = m_worker.get()] { worker->open(); });
}

void PortLine::setUp(const SerialSetup &setup)
{
    m_setup = setup;
    QMetaObject::invokeMethod(m_worker.get(), [worker = m_worker.get(), setup] { worker->setUp(setup); });
}

void PortLine::write(const QByteArray &data)
{
    if (m_worker->waiting() > kMostWaiting) {
        m_health.refuse(translated(QT_TRANSLATE_NOOP("messages", "it takes nothing: what is sent is lost")));
        return;
    }
    m_worker->addWaiting(data.size());
    QMetaObject::invokeMethod(m_worker.get(), [worker = m_worker.get(), data] { worker->write(data); });
}

qint64 PortLine::written() const
{
    return m_worker->written();
}

void PortLine::finishWriting(int timeoutMs)
{
    QMetaObject::invokeMethod(
        m_worker.get(), [worker = m_worker.get(), timeoutMs] { worker->finishWriting(timeoutMs); },
        Qt::BlockingQueuedConnection);
}

void PortLine::takeOpen()
{
    m_health.setOpen();
    Q_EMIT openChanged(true);
}

void PortLine::takeFailure(const QString &reason)
{
    m_health.setFailed(reason);
    Q_EMIT openChanged(false);
}

void PortLine::takeLoss()
{
    m_health.setLost(translated(QT_TRANSLATE_NOOP("messages", "it hung up")));
    Q_EMIT openChanged(false);
}

void PortLine::takeUnsent()
{
    const auto [bytes, times] = m_worker->takeUnsent();
    m_health.refuse(translated(QT_TRANSLATE_NOOP("messages", "it is not open: %1 bytes were not sent")).arg(bytes),
                    times);
}
