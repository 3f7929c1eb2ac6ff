#include "interp/ProgramState.h"

#include "base/Clock.h"
#include "interp/LevelAssocManager.h"

#include <algorithm>

namespace {
constexpr const char *kDays[] = { "MON", "TUE", "WED", "THU", "FRI", "SAT", "SUN" };

/// Overwrites the elements that are there; the length stays.
void overwrite(Array &text, const QByteArray &bytes)
{
    const int count = std::min(text.length(), bytes.size());
    for (int i = 0; i < count; ++i) {
        text.setNumber(i + 1, static_cast<quint8>(bytes.at(i)));
    }
}

BasicType *symbol(const AST &program, const char *name)
{
    return program.findGlobal(Name(QString::fromLatin1(name)));
}
} // namespace

ProgramState::SystemVariables::SystemVariables(const AST &program)
    : getTimer(asDouble(symbol(program, "get_timer")))
    , getPulseTime(asDouble(symbol(program, "get_pulse_time")))
    , pushChannel(asDouble(symbol(program, "push_channel")))
    , releaseChannel(asDouble(symbol(program, "release_channel")))
    , pushDevChan(static_cast<DevChan *>(symbol(program, "push_devchan")))
    , releaseDevChan(static_cast<DevChan *>(symbol(program, "release_devchan")))
    , date(asArray(symbol(program, "date")))
    , time(asArray(symbol(program, "time")))
    , day(asArray(symbol(program, "day")))
{}

ProgramState::ProgramState(AST &program, const QString &dataDirectory)
    : m_program(program)
    , m_system(program)
    , m_storage(dataDirectory, &program)
    , m_levels(std::make_unique<LevelAssocManager>(*this))
    , m_tenthTicket(
          Clock::instance().every(100, [this] { *m_system.getTimer->storage() = static_cast<double>(++m_tenths); }))
    , m_secondTicket(Clock::instance().every(1000, [this] { refreshDateAndTime(); }))
{
    program.onVariableChanged = [this](Name name, qint64 value) { m_levels->variableToLevels(name, value); };
}

ProgramState::~ProgramState()
{
    m_program.onVariableChanged = nullptr;
    Clock::instance().cancel(m_tenthTicket);
    Clock::instance().cancel(m_secondTicket);
}

void ProgramState::begin()
{
    m_system = SystemVariables(m_program);
    m_combinations = m_program.combinations();
    m_levels->setAssociations(m_program.levels());
    for (BasicType *value : m_program.globalsInOrder()) {
        m_storage.restoreVariable(*value);
    }
    refreshDateAndTime();
}

void ProgramState::setPulseTimeMs(int ms)
{
    m_pulseTimeMs = ms;
    const int tenths = ms / 100;
    m_system.getPulseTime->setValue(tenths);
}

bool ProgramState::isKeptCurrent(const BasicType &global) const
{
    const SystemVariables &kept = m_system;
    const BasicType *const variables[] = { kept.getTimer,       kept.getPulseTime, kept.pushChannel,
                                           kept.releaseChannel, kept.pushDevChan,  kept.releaseDevChan,
                                           kept.date,           kept.time,         kept.day };
    return std::find(std::begin(variables), std::end(variables), &global) != std::end(variables);
}

void ProgramState::setPushed(const ChannelAddress &input)
{
    m_system.pushChannel->setValue(input.channel);
    m_system.pushDevChan->setCode(input.channel);
    m_system.pushDevChan->setDevice(input.device);
}

void ProgramState::setReleased(const ChannelAddress &input)
{
    m_system.releaseChannel->setValue(input.channel);
    m_system.releaseDevChan->setCode(input.channel);
    m_system.releaseDevChan->setDevice(input.device);
}

void ProgramState::refreshDateAndTime()
{
    const QDateTime now = Clock::instance().localDateTime();
    overwrite(*m_system.date, now.toString(QStringLiteral("MM/dd/yy")).toLatin1());
    overwrite(*m_system.time, now.toString(QStringLiteral("HH:mm:ss")).toLatin1());
    overwrite(*m_system.day, QByteArray(kDays[now.date().dayOfWeek() - 1]));
}
