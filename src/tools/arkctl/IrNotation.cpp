#include "tools/arkctl/IrNotation.h"

#include "tools/arkctl/IrProtocols.h"

#include <QRegularExpression>
#include <QStringList>

#include <cmath>
#include <optional>

namespace {
using Parsed = std::variant<IrCode, std::string>;

const QString kRaw = QStringLiteral("raw");
const QString kPronto = QStringLiteral("pronto");
const QString kRepeat = QStringLiteral("repeat");
const QString kToggle = QStringLiteral("toggle");

QStringList wordsOf(const QString &text)
{
    return text.toLower().split(QRegularExpression(QStringLiteral("[\\s,]+")), Qt::SkipEmptyParts);
}

Parsed checked(IrCode code)
{
    if (code.isValid()) {
        return code;
    }
    return "durations are 1 to 1000000 us, with a space of 10000 us at least every 500000 us and 1023 durations; "
           "the carrier is 0 or 10000 to 1000000 Hz";
}

/// "9000", "+9000" or "-4500", whose sign must be that of its place.
std::optional<quint32> durationOf(const QString &word, bool isPulse)
{
    const QString wrongSign = isPulse ? QStringLiteral("-") : QStringLiteral("+");
    const QString rightSign = isPulse ? QStringLiteral("+") : QStringLiteral("-");
    bool isNumber = false;
    const quint32 number = word.mid(word.startsWith(rightSign) ? 1 : 0).toUInt(&isNumber);
    return isNumber && !word.startsWith(wrongSign) ? std::optional(number) : std::nullopt;
}

Parsed parseRaw(const QStringList &words)
{
    bool isNumber = false;
    IrCode code{ words.value(1).toUInt(&isNumber), {}, {}, {} };
    if (!isNumber) {
        return "the carrier in Hz must follow raw, for example raw 38000";
    }
    IrCode::Durations *part = &code.once;
    bool repeats = false;
    for (int index = 2; index < words.size(); ++index) {
        const QString &word = words.at(index);
        const bool isPulse = part->size() % 2 == 0;
        if (word == kRepeat && part == &code.once) {
            part = &code.repeat;
            repeats = true;
        } else if (word == kToggle && part != &code.toggled) {
            part = &code.toggled;
        } else if (const auto duration = durationOf(word, isPulse)) {
            part->push_back(*duration);
        } else if (word != (isPulse ? QStringLiteral("pulse") : QStringLiteral("space"))) {
            return (isPulse ? "no duration of a pulse: " : "no duration of a space: ") + word.toStdString();
        }
    }
    if (!repeats) {
        code.repeat = code.once;
    }
    return checked(code);
}

Parsed parsePronto(const QStringList &words)
{
    constexpr size_t kHead = 4; // kind, carrier, pairs that are sent once, pairs that repeat
    std::vector<quint32> numbers;
    for (const QString &word : words.mid(1)) {
        bool isNumber = false;
        numbers.push_back(word.toUInt(&isNumber, 16));
        if (!isNumber || word.size() != 4) {
            return "not four hexadecimal digits: " + word.toStdString();
        }
    }
    if (numbers.size() < kHead || (numbers[0] != 0x0000 && numbers[0] != 0x0100) || numbers[1] == 0) {
        return "only learned codes can be read; they begin with 0000 or 0100, a carrier and two counts";
    }
    if (numbers.size() != kHead + 2 * (numbers[2] + numbers[3])) {
        return "there must be " + std::to_string(2 * (numbers[2] + numbers[3])) +
               " numbers behind the first four, by what these say; there are " + std::to_string(numbers.size() - kHead);
    }
    const double unitUs = numbers[1] * 0.241246;
    IrCode code{ numbers[0] == 0 ? static_cast<quint32>(std::lround(1e6 / unitUs)) : 0, {}, {}, {} };
    for (size_t index = kHead; index < numbers.size(); ++index) {
        IrCode::Durations &part = index < kHead + 2 * size_t{ numbers[2] } ? code.once : code.repeat;
        part.push_back(static_cast<quint32>(std::lround(numbers[index] * unitUs)));
    }
    if (code.once.empty()) {
        code.once = code.repeat;
    }
    return checked(code);
}

Parsed parseScancode(const QStringList &words)
{
    bool isNumber = false;
    const quint32 scancode = words.value(1).toUInt(&isNumber, 16);
    if (!isNumber || words.size() > 2) {
        return "one hexadecimal number must follow " + words.first().toStdString() + ", and nothing else";
    }
    return IrProtocols::encode(words.first().toStdString(), scancode);
}

QString joined(const IrCode::Durations &durations)
{
    QString text;
    for (const quint32 each : durations) {
        text += QLatin1Char(' ') + QString::number(each);
    }
    return text;
}
} // namespace

bool IrNotation::isOne(const QString &text)
{
    const QString word = wordsOf(text).value(0);
    return word == kRaw || word == kPronto || IrProtocols::isProtocol(word.toStdString());
}

Parsed IrNotation::parse(const QString &text)
{
    const QStringList words = wordsOf(text);
    if (words.value(0) == kRaw) {
        return parseRaw(words);
    }
    return words.value(0) == kPronto ? parsePronto(words) : parseScancode(words);
}

QString IrNotation::written(const IrCode &code)
{
    return QStringLiteral("raw %1").arg(code.carrierHz) + joined(code.once) +
           (code.repeat == code.once ? QString() : QStringLiteral(" repeat") + joined(code.repeat)) +
           (code.toggled.empty() ? QString() : QStringLiteral(" toggle") + joined(code.toggled));
}
