#pragma once
#include "program/LevelAssociation.h"

#include <vector>

class ProgramState;

/// The levels that the variables of a running program are bound to, in both directions.
class LevelAssocManager
{
public:
    explicit LevelAssocManager(ProgramState &state)
        : m_state(state)
    {}

    void setAssociations(std::vector<LevelAssociation> associations) { m_associations = std::move(associations); }
    void addAssociation(const LevelAssociation &association) { m_associations.push_back(association); }

    /// A level has changed: every bound variable that is a number and not const takes the value, without an echo.
    void levelToVariables(int deviceNumber, int levelCode, int value);
    /// A variable has changed: its levels are sent.
    void variableToLevels(Name name, qint64 value);

private:
    Double *boundNumber(const LevelAssociation &association) const;

    ProgramState &m_state;
    std::vector<LevelAssociation> m_associations;
    bool m_busy = false;
};
