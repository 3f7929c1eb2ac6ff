#pragma once
#include "model/StructType.h"

#include <QString>

#include <map>

class ControlProgram;

/// What a program calls its devices and variables, as its source has it where that is known.
/// Owns: copies. Thread: the main thread.
class ProgramNames
{
public:
    explicit ProgramNames(ControlProgram &program);

    QString nameOf(Name name) const;                       // of a global
    QString nameOf(int nameId) const;                      // the same by Name::id()
    QString deviceText(const DeviceAddress &device) const; // "dvPanel", or "10001:1:0" when no name is declared for it
    bool isDeclared(int deviceNumber) const;

private:
    std::map<int, QString> m_names; // by Name::id()
    std::map<DeviceAddress, QString> m_devices;
};

/// Bytes between quotes, on one line, with what is no text as in C; cut where it was cut before.
/// \param wholeSize  of what the bytes are the beginning of
QString quoted(std::string_view bytes, int wholeSize);
