#include "tools/arkctl/IrText.h"
#include "tools/arkctl/IrNotation.h"
#include <QRegularExpression>

#include <optional>
#include <set>

namespace {
const QString kQuoted = QStringLiteral(R"re("((?:[^"\\]|\\["\\])*)")re");

QString unquoted(QString text)
{
    return text.replace(QRegularExpression(QStringLiteral(R"(\\(.))")), QStringLiteral("\\1"));
}

QString quoted(QString text)
{
    text.replace(QRegularExpression(QStringLiteral(R"([\x00-\x1f])")), QStringLiteral(" ")); // a line stays a line
    return QLatin1Char('"') + text.replace(QRegularExpression(QStringLiteral(R"((["\\]))")), QStringLiteral("\\\\1")) +
           QLatin1Char('"');
}

QString shownCode(const QByteArray &code)
{
    const std::optional<IrCode> pulses = IrCode::parse(code);
    return pulses && pulses->written() == code ? IrNotation::written(*pulses)
                                               : QString::fromLatin1(code.toHex(' ').toUpper());
}

/// One line's record, or what is wrong with it.
std::variant<IrFile::Record, std::string> parseRecord(const QString &line)
{
    static const QRegularExpression form(QStringLiteral(R"(\A(\d+)\s+%1\s*(?:\[([-\d\s]*)\])?\s*(.*)\z)").arg(kQuoted));
    const QRegularExpressionMatch match = form.match(line);
    if (!match.hasMatch()) {
        return R"(not of the form NUMBER "NAME" BYTES)";
    }
    IrFile::Record record;
    bool isNumber = false;
    record.codeNumber = match.captured(1).toInt(&isNumber);
    if (!isNumber || record.codeNumber > IrFile::kLastCodeNumber) {
        return "the code number is not one from 0 to 255: " + match.captured(1).toStdString();
    }
    record.name = unquoted(match.captured(2));
    const QStringList numbers = match.captured(3).split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    if (!numbers.isEmpty() && numbers.size() != static_cast<int>(record.unusedNumbers.size())) {
        return "there must be six numbers in the brackets, or no brackets";
    }
    for (int index = 0; index < numbers.size(); ++index) {
        record.unusedNumbers.at(static_cast<size_t>(index)) = numbers.at(index).toInt();
    }
    if (const QString code = match.captured(4); IrNotation::isOne(code)) {
        const auto parsed = IrNotation::parse(code);
        if (const auto *what = std::get_if<std::string>(&parsed)) {
            return *what;
        }
        record.code = std::get<IrCode>(parsed).written();
        return record;
    }
    static const QRegularExpression hexForm(QStringLiteral(R"(\A(?:\s*[0-9A-Fa-f]{2})+\s*\z)"));
    if (!hexForm.match(match.captured(4)).hasMatch()) {
        return "the code is not a row of bytes with two hexadecimal digits each: " + match.captured(4).toStdString();
    }
    record.code = QByteArray::fromHex(match.captured(4).toLatin1());
    return record;
}
} // namespace

std::variant<IrFile::Contents, IrText::Fault> IrText::parse(const QByteArray &text)
{
    static const QRegularExpression headerForm(QStringLiteral(R"(\Aheader\s+%1\z)").arg(kQuoted));
    IrFile::Contents contents;
    std::set<qint32> numbers;
    int number = 0;
    const QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'));
    for (const QString &each : lines) {
        ++number;
        const QString line = each.trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#'))) {
            continue;
        }
        if (const QRegularExpressionMatch header = headerForm.match(line); header.hasMatch()) {
            if (contents.headers.size() == IrFile::kHeaderTexts) {
                return Fault{ number, "there are more than five headers" };
            }
            contents.headers << unquoted(header.captured(1));
            continue;
        }
        const auto record = parseRecord(line);
        if (const auto *what = std::get_if<std::string>(&record)) {
            return Fault{ number, *what };
        }
        contents.records.push_back(std::get<IrFile::Record>(record));
        if (const qint32 codeNumber = contents.records.back().codeNumber; !numbers.insert(codeNumber).second) {
            return Fault{ number, "code number " + std::to_string(codeNumber) + " is there already" };
        }
    }
    return contents;
}

QByteArray IrText::written(const IrFile::Contents &contents)
{
    QString text;
    QStringList headers = contents.headers;
    while (!headers.isEmpty() && headers.last().isEmpty()) {
        headers.removeLast();
    }
    for (const QString &header : qAsConst(headers)) {
        text += QStringLiteral("header %1\n").arg(quoted(header));
    }
    for (const IrFile::Record &record : contents.records) {
        text += QString::number(record.codeNumber) + QLatin1Char(' ') + quoted(record.name);
        if (record.unusedNumbers != decltype(record.unusedNumbers){}) {
            QStringList numbers;
            for (const qint32 each : record.unusedNumbers) {
                numbers << QString::number(each);
            }
            text += QStringLiteral(" [%1]").arg(numbers.join(QLatin1Char(' ')));
        }
        text += QLatin1Char(' ') + shownCode(record.code) + QLatin1Char('\n');
    }
    return text.toUtf8();
}
