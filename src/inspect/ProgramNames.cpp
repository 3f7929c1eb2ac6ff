#include "inspect/ProgramNames.h"

#include "runtime/ControlProgram.h"

ProgramNames::ProgramNames(ControlProgram &program)
{
    const AST &tree = program.tree();
    const std::vector<Places::Global> &written = program.places().globals;
    size_t index = 0;
    for (const BasicType *global : tree.globalsInOrder()) {
        if (tree.isSystemSymbol(global)) {
            m_names.emplace(global->name().id(), global->name().text());
            continue;
        }
        const QString text =
            index < written.size() && !written[index].name.isEmpty() ? written[index].name : global->name().text();
        ++index;
        m_names.emplace(global->name().id(), text);
        if (const Device *device = asDevice(global)) {
            m_devices.emplace(device->address(), text);
        }
    }
}

QString ProgramNames::nameOf(Name name) const
{
    return nameOf(name.id());
}

QString ProgramNames::nameOf(int nameId) const
{
    const auto found = m_names.find(nameId);
    return found != m_names.end() ? found->second : QString();
}

QString ProgramNames::deviceText(const DeviceAddress &device) const
{
    auto found = m_devices.find(device);
    if (found == m_devices.end()) { // declared with this system's own number
        found = std::find_if(m_devices.begin(), m_devices.end(), [&device](const auto &declared) {
            return declared.first.number == device.number && declared.first.port == device.port && device.system == 0;
        });
    }
    return found != m_devices.end() ? found->second : device.text();
}

bool ProgramNames::isDeclared(int deviceNumber) const
{
    return std::any_of(m_devices.begin(), m_devices.end(),
                       [deviceNumber](const auto &device) { return device.first.number == deviceNumber; });
}

QString quoted(std::string_view bytes, int wholeSize)
{
    // Where it is text in UTF-8 it stays so, but for a character that was cut in two at the end.
    const QString decoded = QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
    const bool isText = !decoded.chopped(std::min<int>(decoded.size(), 3)).contains(QChar::ReplacementCharacter);
    const QString text = isText ? decoded : QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
    QString result = QStringLiteral("\"");
    for (const QChar sign : text) {
        if (sign == QLatin1Char('\r')) {
            result += QStringLiteral("\\r");
        } else if (sign == QLatin1Char('\n')) {
            result += QStringLiteral("\\n");
        } else if (sign == QLatin1Char('"') || sign == QLatin1Char('\\')) {
            result += QLatin1Char('\\');
            result += sign;
        } else if (sign.unicode() < 0x20 || (sign.unicode() >= 0x7F && sign.unicode() < 0xA0)) {
            result += QStringLiteral("\\x%1").arg(sign.unicode(), 2, 16, QLatin1Char('0'));
        } else {
            result += sign;
        }
    }
    result += QLatin1Char('"');
    return wholeSize > static_cast<int>(bytes.size()) ? result + QStringLiteral("… (%1)").arg(wholeSize) : result;
}
