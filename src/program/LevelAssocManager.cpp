#include "program/LevelAssocManager.h"

#include "model/RecordStream.h"
#include "program/AST.h"

void LevelAssocManager::levelToVariables(int deviceNumber, int levelCode, int value)
{
    const bool wasBusy = m_busy;
    m_busy = true;
    for (const Association &association : m_associations) {
        if (association.levelCode == levelCode && association.device.number == deviceNumber) {
            if (Double *variable = boundNumber(association)) {
                variable->setValue(value);
                m_program.storage().saveVariable(*variable);
            }
        }
    }
    m_busy = wasBusy;
}

void LevelAssocManager::variableToLevels(const QString &name, qint64 value)
{
    if (name.isEmpty() || m_busy) {
        return;
    }
    // By index: a level handler that runs meanwhile may bind more levels.
    for (size_t index = 0; index < m_associations.size(); ++index) {
        const Association association = m_associations[index];
        const Double *variable = boundNumber(association);
        if (association.variable != name || association.levelCode == 0 || !variable) {
            continue;
        }
        m_program.storage().saveVariable(*variable); // before the level tells of it
        for (const DeviceAddress &address : m_program.expandDevice(association.device)) {
            if (DeviceActions *devices = m_program.devices()) {
                devices->setLevel(address, association.levelCode, static_cast<int>(value));
            }
        }
    }
}

void LevelAssocManager::writeTo(RecordWriter &writer) const
{
    writer.writeInt(static_cast<int>(m_associations.size()));
    for (const Association &association : m_associations) {
        writer.writeInt(association.device.number);
        writer.writeInt(association.device.port);
        writer.writeInt(association.device.system);
        writer.writeInt(association.levelCode);
        writer.writeText(association.variable);
    }
}

void LevelAssocManager::readFrom(RecordReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        Association association;
        association.device.number = reader.readInt();
        association.device.port = reader.readInt();
        association.device.system = reader.readInt();
        association.levelCode = reader.readInt();
        association.variable = reader.readText();
        m_program.noteBound(Name(association.variable));
        m_associations.push_back(association);
    }
}

Double *LevelAssocManager::boundNumber(const Association &association) const
{
    Double *variable = asDouble(m_program.findGlobal(Name(association.variable)));
    return variable && !variable->isConst() ? variable : nullptr;
}
