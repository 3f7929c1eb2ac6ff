#include "runtime/ControlProgram.h"

#include "base/Messages.h"
#include "interp/Run.h"
#include "library/Library.h"
#include "runtime/ObjectFile.h"

#include <QCoreApplication>

ControlProgram::ControlProgram(const QString &dataDirectory, qint64 traceBytes)
    : m_tree(std::make_unique<AST>())
    , m_state(std::make_unique<ProgramState>(*m_tree, dataDirectory))
    , m_library(std::make_unique<Library>())
    , m_interpreter(std::make_unique<Interpreter>(*m_state))
    , m_dispatcher(std::make_unique<Dispatcher>(*m_interpreter))
    , m_reports([this](ErrorReports::Kind kind, const QString &text) {
        if (onReport) {
            onReport(kind, text);
        }
    })
{
    m_state->trace().setMemory(traceBytes);
    m_library->registerIn(*m_tree);
    const auto report = [this](ErrorReports::Kind kind) {
        return [this, kind](const QString &text) {
            m_state->trace().add(TraceRecord::of(TraceRecord::Kind::Problem).with(text.toUtf8()));
            m_reports.add(kind, text, whereItRuns());
        };
    };
    QObject::connect(m_tree.get(), &AST::error, m_tree.get(), report(ErrorReports::Kind::Error));
    QObject::connect(m_tree.get(), &AST::warning, m_tree.get(), report(ErrorReports::Kind::Warning));
    QObject::connect(m_tree.get(), &AST::logged, m_tree.get(), [report](int kind, const QString &text) {
        constexpr int kFirst = static_cast<int>(ErrorReports::Kind::LogError) - AST::kLogError;
        report(static_cast<ErrorReports::Kind>(kFirst + kind))(text);
    });
}

ControlProgram::~ControlProgram() = default;

void ControlProgram::setDevices(DeviceActions *devices)
{
    m_devices.reset();
    m_state->setDevices(devices ? &m_devices.emplace(m_state->trace(), *devices) : nullptr);
}

void ControlProgram::setSockets(SocketActions *sockets)
{
    m_sockets.reset();
    m_state->setSockets(sockets ? &m_sockets.emplace(m_state->trace(), *sockets) : nullptr);
}

bool ControlProgram::load(QDataStream &stream)
{
    const bool loaded = loadObjectFile(*m_tree, stream);
    if (loaded) {
        m_places = Places::read(stream);
    }
    m_state->begin();
    m_interpreter->prepareFunctions();
    m_dispatcher->prepare();
    m_busyWatch = std::make_unique<BusyWatch>(m_interpreter->run(), m_places, [this](const QString &text) {
        if (onReport) {
            onReport(ErrorReports::Kind::Warning, text);
        }
    });
    return loaded;
}

QString ControlProgram::whereItRuns() const
{
    constexpr int kMostCalls = 8;
    const Run &run = m_interpreter->run();
    const auto text = [this](int statement) {
        return m_places.lineOf(statement) + QStringLiteral(", ") + m_places.bodyOf(statement);
    };
    int statement = run.place.load(std::memory_order_relaxed);
    if (!m_places.findBody(statement)) {
        return {};
    }
    QString where = text(statement);
    int calls = 0;
    for (const FrameScope *scope = run.scope; scope && m_places.isCalled(statement); scope = scope->outer()) {
        statement = scope->calledFrom();
        if (++calls > kMostCalls) {
            return where + QStringLiteral(" …");
        }
        where += translated(QT_TRANSLATE_NOOP("messages", ", called at %1")).arg(text(statement));
    }
    return where;
}
