#pragma once
#include "base/Names.h"
#include "model/StructType.h"

#include <vector>

class AST;
class RecordReader;
class RecordWriter;

/// Binds numeric variables to device levels, in both directions.
class LevelAssocManager
{
public:
    struct Association
    {
        DeviceAddress device;
        int levelCode = 0;
        QString variable; // as written; matched exactly against upper-cased names on the way out
    };

    explicit LevelAssocManager(AST &program)
        : m_program(program)
    {}

    const std::vector<Association> &associations() const { return m_associations; }
    void addAssociation(const Association &association) { m_associations.push_back(association); }
    bool isActive() const { return !m_busy && !m_associations.empty(); }
    void clear() { m_associations.clear(); }

    /// A level has changed: every bound variable that is a number and not const takes the value, without an echo.
    void levelToVariables(int deviceNumber, int levelCode, int value);
    /// A variable has changed: its levels are sent.
    void variableToLevels(const QString &name, qint64 value);

    void writeTo(RecordWriter &writer) const;
    void readFrom(RecordReader &reader);

private:
    Double *boundNumber(const Association &association) const;

    AST &m_program;
    std::vector<Association> m_associations;
    bool m_busy = false;
};
