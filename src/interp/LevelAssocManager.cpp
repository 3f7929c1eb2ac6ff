#include "interp/LevelAssocManager.h"

#include "interp/ProgramState.h"

void LevelAssocManager::levelToVariables(int deviceNumber, int levelCode, int value)
{
    const bool wasBusy = m_busy;
    m_busy = true;
    for (const LevelAssociation &association : m_associations) {
        if (association.levelCode == levelCode && association.device.number == deviceNumber) {
            if (Double *variable = boundNumber(association)) {
                variable->setValue(value);
                m_state.storage().saveVariable(*variable);
            }
        }
    }
    m_busy = wasBusy;
}

void LevelAssocManager::variableToLevels(Name name, qint64 value)
{
    if (m_busy || m_associations.empty()) {
        return;
    }
    const QString text = name.text();
    // By index: a level handler that runs meanwhile may bind more levels.
    for (size_t index = 0; index < m_associations.size(); ++index) {
        const LevelAssociation association = m_associations[index];
        const Double *variable = boundNumber(association);
        if (association.variable != text || association.levelCode == 0 || !variable) {
            continue;
        }
        m_state.storage().saveVariable(*variable); // before the level tells of it
        for (const DeviceAddress &address : m_state.expandDevice(association.device)) {
            if (DeviceActions *devices = m_state.devices()) {
                devices->setLevel(address, association.levelCode, static_cast<int>(value));
            }
        }
    }
}

Double *LevelAssocManager::boundNumber(const LevelAssociation &association) const
{
    Double *variable = asDouble(m_state.program().findGlobal(Name(association.variable)));
    return variable && !variable->isConst() ? variable : nullptr;
}
