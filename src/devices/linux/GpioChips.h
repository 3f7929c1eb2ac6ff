#pragma once
#include "base/Descriptor.h"

#include <QString>

#include <variant>
#include <vector>

/// The GPIO chips of this machine, as the kernel's character devices tell of them.
/// The kernel is asked directly, with the second version of its interface (Linux 5.10): that one debounces, and the
/// library of Debian 12 does not know it.
namespace GpioChips {

struct Line
{
    quint32 offset = 0;
    QString name;     // of the board; often empty
    QString consumer; // who uses it; may be empty although it is used
    bool isUsed = false;
    bool isOutput = false;
};

struct Chip
{
    Descriptor descriptor;
    QString name; // "gpiochip0": the number changes when an adapter is plugged again
    QString label;
    quint32 lineCount = 0;
};

struct Refusal
{
    QString file;
    QString reason;
};

/// In the order of their numbers; those that cannot be opened are in *refusals.
std::vector<Chip> open(std::vector<Refusal> *refusals = nullptr);
Line line(const Chip &chip, quint32 offset);

struct Place
{
    Chip chip;
    quint32 offset = 0;
};

/// Where the line of a setting is: "gpiochip0:17", "LABEL:17" with the chip's label, or the line's own name.
/// Otherwise what is wrong, for people.
std::variant<Place, QString> find(const QString &line);
/// The same after its chip has been away. The kernel may give the chip another number then: its label and the offset
/// where the line was before tell it again, as long as there is one chip of that label.
std::variant<Place, QString> findAgain(const QString &line, const QString &label, quint32 offset);

} // namespace GpioChips
