#include "devices/linux/GpioChips.h"

#include "base/Messages.h"
#include "devices/linux/DeviceFile.h"

#include <QDir>
#include <QFile>
#include <QStringList>

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <linux/gpio.h>
#include <sys/ioctl.h>

namespace {
QString fromKernel(const char (&text)[GPIO_MAX_NAME_SIZE])
{
    return QString::fromLocal8Bit(text, static_cast<int>(strnlen(text, sizeof text)));
}

int numberOf(const QString &chipName)
{
    return chipName.mid(static_cast<int>(qstrlen("gpiochip"))).toInt();
}

QString noSuchLine(const QString &line, const std::vector<GpioChips::Chip> &chips,
                   const std::vector<GpioChips::Refusal> &refusals)
{
    QStringList known;
    for (const GpioChips::Chip &chip : chips) {
        known << QStringLiteral("%1 \"%2\"").arg(chip.name, chip.label);
    }
    if (!known.isEmpty()) {
        return translated(QT_TRANSLATE_NOOP("messages", "There is no GPIO line %1. The chips are: %2"))
            .arg(line, known.join(QStringLiteral(", ")));
    }
    return refusals.empty()
               ? translated(QT_TRANSLATE_NOOP("messages", "There is no GPIO chip for the line %1")).arg(line)
               : QStringLiteral("%1: %2").arg(refusals.back().file, refusals.back().reason);
}
} // namespace

std::vector<GpioChips::Chip> GpioChips::open(std::vector<Refusal> *refusals)
{
    QStringList names = QDir(QStringLiteral("/dev")).entryList({ QStringLiteral("gpiochip*") }, QDir::System);
    std::sort(names.begin(), names.end(), [](const auto &a, const auto &b) { return numberOf(a) < numberOf(b); });
    std::vector<Chip> chips;
    for (const QString &name : qAsConst(names)) {
        const QString path = QStringLiteral("/dev/") + name;
        Chip chip{ Descriptor(::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC)), name, {}, 0 };
        gpiochip_info info{};
        if (chip.descriptor.isOpen() && ioctl(chip.descriptor.get(), GPIO_GET_CHIPINFO_IOCTL, &info) == 0) {
            chip.label = fromKernel(info.label);
            chip.lineCount = info.lines;
            chips.push_back(std::move(chip));
        } else if (refusals) {
            refusals->push_back({ path, DeviceFile::whyRefused(path, errno) });
        }
    }
    return chips;
}

GpioChips::Line GpioChips::line(const Chip &chip, quint32 offset)
{
    gpio_v2_line_info info{};
    info.offset = offset;
    if (ioctl(chip.descriptor.get(), GPIO_V2_GET_LINEINFO_IOCTL, &info) != 0) {
        return { offset, {}, {}, false, false };
    }
    return { offset, fromKernel(info.name), fromKernel(info.consumer), (info.flags & GPIO_V2_LINE_FLAG_USED) != 0,
             (info.flags & GPIO_V2_LINE_FLAG_OUTPUT) != 0 };
}

std::variant<GpioChips::Place, QString> GpioChips::find(const QString &line)
{
    std::vector<Refusal> refusals;
    std::vector<Chip> chips = open(&refusals);
    const QString chipName = line.left(line.lastIndexOf(QLatin1Char(':')));
    bool isNumber = false;
    const quint32 number = line.mid(chipName.size() + 1).toUInt(&isNumber);
    for (Chip &chip : chips) {
        if (isNumber && (chip.name == chipName || chip.label == chipName)) {
            if (number < chip.lineCount) {
                return Place{ std::move(chip), number };
            }
            return translated(QT_TRANSLATE_NOOP("messages", "%1 has the lines 0 to %2 only, not %3"))
                .arg(chipName)
                .arg(chip.lineCount - 1)
                .arg(number);
        }
    }
    for (Chip &chip : chips) {
        for (quint32 offset = 0; offset < chip.lineCount && !line.isEmpty(); ++offset) {
            if (GpioChips::line(chip, offset).name == line) {
                return Place{ std::move(chip), offset };
            }
        }
    }
    return noSuchLine(line, chips, refusals);
}

std::variant<GpioChips::Place, QString> GpioChips::findAgain(const QString &line, const QString &label, quint32 offset)
{
    auto found = find(line);
    const auto *place = std::get_if<Place>(&found);
    if (place && place->chip.label == label) {
        return found;
    }
    std::vector<Chip> chips = open();
    const QString reason = place ? noSuchLine(line, chips, {}) : std::get<QString>(found); // another chip has its name
    std::erase_if(chips, [&](const Chip &chip) { return chip.label != label || offset >= chip.lineCount; });
    if (chips.size() == 1) {
        return Place{ std::move(chips.front()), offset };
    }
    return reason;
}
