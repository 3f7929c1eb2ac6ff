#include "devices/SerialSetup.h"

#include "base/Messages.h"

#include <QStringList>

namespace {
void warn(SerialSetupCommand &command, const char *text)
{
    command.remarks.push_back({ MonitorMessageType::Warning, translated(text) });
}

void fail(SerialSetupCommand &command, const char *text)
{
    command.remarks.push_back({ MonitorMessageType::Error, translated(text) });
}

SerialSetup::Protocol takeProtocol(QString &text, SerialSetupCommand &command)
{
    const QString enable = QStringLiteral("485 enable");
    const QString disable = QStringLiteral("485 disable");
    if (text.contains(enable)) {
        text.remove(enable);
        return SerialSetup::Protocol::Rs485;
    }
    if (text.contains(disable)) {
        text.remove(disable);
    } else {
        warn(command, QT_TRANSLATE_NOOP("messages", "Warning: Serial port protocol unset. Default to RS232."));
    }
    return SerialSetup::Protocol::Rs232;
}

SerialSetup::Parity parityOf(const QString &letter, SerialSetupCommand &command)
{
    if (letter == QLatin1String("o")) {
        return SerialSetup::Parity::Odd;
    }
    if (letter == QLatin1String("e")) {
        return SerialSetup::Parity::Even;
    }
    if (letter != QLatin1String("n")) {
        warn(command, QT_TRANSLATE_NOOP("messages", "Warning: Wrong serial port parity setting."));
    }
    return SerialSetup::Parity::None;
}

void parseBaud(QString text, SerialSetupCommand &command)
{
    text.remove(QStringLiteral("set baud "));
    text.remove(QStringLiteral("set baud"));
    SerialSetup setup;
    setup.protocol = takeProtocol(text, command);
    const QStringList pieces = text.split(QLatin1Char(','), Qt::SkipEmptyParts);
    if (pieces.size() != 4) {
        fail(command, QT_TRANSLATE_NOOP("messages", "Error: Wrong serial port setting command."));
        return;
    }
    bool isNumber = false;
    setup.baudRate = pieces.at(0).trimmed().toUInt(&isNumber);
    if (!isNumber) {
        fail(command, QT_TRANSLATE_NOOP("messages", "Error: Wrong serial port baudrate setting."));
    }
    setup.parity = parityOf(pieces.at(1).trimmed(), command);
    // The third piece, the data bits, has no place in the frame: the hardware always uses 8.
    setup.stopBits = pieces.at(3).trimmed().toInt();
    command.setup = setup;
}
} // namespace

SerialSetupCommand SerialSetupCommand::parse(const QByteArray &command)
{
    SerialSetupCommand result;
    const QString text = QString::fromUtf8(command).toLower();
    if (text.contains(QLatin1String("set mode "))) {
        return result; // "data" and "ir" are known, and neither changes anything
    }
    if (text.contains(QLatin1String("set baud"))) {
        parseBaud(text, result);
    } else {
        const QString remark = translated(QT_TRANSLATE_NOOP("messages", "Error: Unknown command \"%1\""));
        result.remarks.push_back({ MonitorMessageType::Error, remark.arg(text) });
    }
    return result;
}
