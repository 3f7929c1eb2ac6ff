#pragma once
#include "inspect/ProgramNames.h"
#include "model/Array.h"

#include <QJsonObject>

#include <functional>
#include <variant>

class ControlProgram;

/// The globals of a program that runs, for people: by names as in the source, in any case.
/// Owns: the names. Thread: the main thread.
class Variables
{
public:
    explicit Variables(ControlProgram &program);

    /// What a path names: "nVolume", "presets[2].name".
    struct Found
    {
        BasicType *root = nullptr; // the global
        Place place{};
        QString path{}; // as written where it is declared
    };
    using Answer = std::variant<Found, QString>; // or what is wrong with the path
    Answer find(const QString &path) const;

    /// "name", "type", "value" (a number, a text, a list or an object), and "isConstant" of a constant.
    QJsonObject object(const Found &found) const;

    /// All that is declared, structures unfolded, whose path has the filter in it; as many as fit.
    /// \param after  how many globals to pass over
    QJsonObject list(const QString &filter, int after, int mostBytes) const;

    /// Gives it a value that is written as in the source: 40, -1.5, $1F, 'text'. What is wrong, else empty.
    QString set(const Found &found, const QString &value);

private:
    void unfold(BasicType &value, const QString &path, const std::function<void(const Found &)> &take) const;
    QString typeText(const BasicType &value) const;

    ControlProgram &m_program;
    const ProgramNames m_names;
};
