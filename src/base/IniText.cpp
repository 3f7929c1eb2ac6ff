#include "base/IniText.h"

#include <QStringList>

#include <algorithm>
#include <utility>

namespace {
constexpr std::pair<char, char> kEscapes[] = {
    { 'a', '\a' }, { 'b', '\b' }, { 'f', '\f' }, { 'n', '\n' },  { 'r', '\r' },  { 't', '\t' },
    { 'v', '\v' }, { '"', '"' },  { '?', '?' },  { '\'', '\'' }, { '\\', '\\' },
};
const QLatin1String kBytesBegin("@ByteArray(");

QString latin1(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.constData(), bytes.size()); // with zeros in it
}

bool isBlank(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t');
}

bool isLineEnd(QChar c)
{
    return c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

int digitOf(QChar c, int base)
{
    bool isDigit = false;
    const int digit = QString(c).toInt(&isDigit, base);
    return isDigit && c.unicode() < 0x80 && c.isLetterOrNumber() ? digit : -1;
}

/// Reads digits while there are any; the next character is at the end then.
ushort readNumber(const QString &text, int &at, int base)
{
    int number = 0;
    for (int digit = 0; at < text.size() && (digit = digitOf(text.at(at), base)) >= 0; ++at) {
        number = (number * base + digit) & 0xFFFF;
    }
    return static_cast<ushort>(number);
}

/// A line with what continues it, in quotes or behind a backslash, up to its comment. Comments and empty lines are
/// skipped.
class Lines
{
public:
    explicit Lines(const QString &text)
        : m_text(text)
    {}

    bool next(QString &line, int &equals)
    {
        skipEmpty();
        const int start = m_at;
        bool isQuoted = false;
        equals = -1;
        for (; m_at < m_text.size(); ++m_at) {
            const QChar c = m_text.at(m_at);
            if (!isQuoted && m_at > start && (isLineEnd(c) || c == QLatin1Char(';'))) {
                break;
            }
            if (c == QLatin1Char('"')) {
                isQuoted = !isQuoted;
            } else if (c == QLatin1Char('\\')) {
                m_at += m_text.midRef(m_at + 1, 2) == QLatin1String("\r\n") ? 2 : 1;
            } else if (c == QLatin1Char('=') && equals < 0) {
                equals = m_at - start;
            }
        }
        m_at = std::min(m_at, m_text.size());
        line = m_text.mid(start, m_at - start);
        return !line.isEmpty();
    }

private:
    void skipEmpty()
    {
        for (bool isComment = false; m_at < m_text.size(); ++m_at) {
            const QChar c = m_text.at(m_at);
            isComment = (isComment || c == QLatin1Char(';')) && !isLineEnd(c);
            if (!isComment && !isBlank(c) && !isLineEnd(c)) {
                return;
            }
        }
    }

    const QString m_text;
    int m_at = 0;
};

QString unescapedKey(const QString &text)
{
    QString key;
    for (int at = 0; at < text.size();) {
        const QChar c = text.at(at++);
        const bool isWide = c == QLatin1Char('%') && text.mid(at, 1) == QLatin1String("U");
        const QString digits = text.mid(at + (isWide ? 1 : 0), isWide ? 4 : 2);
        bool isNumber = false;
        const ushort number = digits.toUShort(&isNumber, 16);
        if (c == QLatin1Char('%') && isNumber && digits.size() == (isWide ? 4 : 2)) {
            key += QChar(number);
            at += digits.size() + (isWide ? 1 : 0);
        } else {
            key += c == QLatin1Char('\\') ? QLatin1Char('/') : c;
        }
    }
    return key;
}

/// The value behind the equals sign, one text or, with commas, several.
QStringList unescapedValue(const QString &text)
{
    QStringList parts;
    QString part;
    bool isQuoted = false;
    bool hasQuotes = false;
    int leastSize = 0; // of the part: blanks before were written as escapes
    const auto endPart = [&] {
        while (!hasQuotes && part.size() > leastSize && isBlank(part.at(part.size() - 1))) {
            part.chop(1);
        }
        parts += std::exchange(part, QString());
        hasQuotes = false;
        leastSize = 0;
    };
    for (int at = 0; at < text.size();) {
        const QChar c = text.at(at++);
        if (c == QLatin1Char('\\') && at < text.size()) {
            const QChar letter = text.at(at);
            const auto *escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                              [letter](const auto &row) { return QLatin1Char(row.first) == letter; });
            if (escape != std::end(kEscapes)) {
                ++at;
                part += QLatin1Char(escape->second);
            } else if (letter == QLatin1Char('x')) {
                part += QChar(readNumber(text, ++at, 16));
            } else if (digitOf(letter, 8) >= 0) {
                part += QChar(readNumber(text, at, 8));
            } else if (++at; isLineEnd(letter) && at < text.size() && isLineEnd(text.at(at)) && text.at(at) != letter) {
                ++at;
            }
            leastSize = part.size();
        } else if (c == QLatin1Char('"')) {
            isQuoted = !isQuoted;
            hasQuotes = true;
        } else if (c == QLatin1Char(',') && !isQuoted) {
            endPart();
        } else if (isQuoted || !isBlank(c) || (!part.isEmpty() && !hasQuotes)) { // not what leads, or follows quotes
            part += c;
        }
    }
    endPart();
    return parts;
}

QVariant variantOf(const QString &text)
{
    if (text == QLatin1String("@Invalid()")) {
        return {};
    }
    if (text.startsWith(kBytesBegin) && text.endsWith(QLatin1Char(')'))) {
        return text.mid(kBytesBegin.size(), text.size() - kBytesBegin.size() - 1).toLatin1();
    }
    return text.startsWith(QLatin1String("@@")) ? text.mid(1) : text;
}

QByteArray escapedKey(const QString &key)
{
    QByteArray escaped;
    for (const QChar c : key) {
        const bool isPlain = c.unicode() < 0x80 && (c.isLetterOrNumber() || QLatin1String("_-.").contains(c));
        if (isPlain) {
            escaped += c.toLatin1();
        } else if (c == QLatin1Char('/')) {
            escaped += '\\';
        } else {
            const bool isWide = c.unicode() > 0xFF;
            escaped += isWide ? "%U" : "%";
            escaped += QByteArray::number(c.unicode(), 16).toUpper().rightJustified(isWide ? 4 : 2, '0');
        }
    }
    return escaped;
}

QByteArray escapedText(const QString &text)
{
    QByteArray escaped;
    bool needsQuotes = text.isEmpty() || text.startsWith(QLatin1Char(' ')) || text.endsWith(QLatin1Char(' '));
    bool isAfterNumber = false; // whose digits a digit would continue
    for (const QChar c : text) {
        const auto *escape = std::find_if(std::begin(kEscapes), std::end(kEscapes), [c](const auto &row) {
            return row.first != '?' && row.first != '\'' && QLatin1Char(row.second) == c;
        });
        if (escape != std::end(kEscapes)) {
            escaped += '\\';
            escaped += escape->first;
            isAfterNumber = false;
        } else if (c.unicode() <= 0x1F || c.unicode() >= 0x7F || (isAfterNumber && digitOf(c, 16) >= 0)) {
            escaped += "\\x" + QByteArray::number(c.unicode(), 16);
            isAfterNumber = true;
        } else {
            escaped += c.toLatin1();
            needsQuotes = needsQuotes || QLatin1String(";,=").contains(c);
            isAfterNumber = false;
        }
    }
    return needsQuotes ? '"' + escaped + '"' : escaped;
}

QByteArray escapedValue(const QVariant &value)
{
    if (value.type() == QVariant::ByteArray) {
        return escapedText(kBytesBegin + latin1(value.toByteArray()) + QLatin1Char(')'));
    }
    const bool isList = value.type() == QVariant::StringList || !value.isValid();
    QByteArrayList parts;
    for (const QString &text : isList ? value.toStringList() : QStringList(value.toString())) {
        parts += escapedText(text.startsWith(QLatin1Char('@')) ? QLatin1Char('@') + text : text);
    }
    return parts.isEmpty() ? QByteArrayLiteral("@Invalid()") : parts.join(", ");
}

QString sectionOf(const QString &header)
{
    const QString name = header.trimmed();
    if (name.compare(QLatin1String("general"), Qt::CaseInsensitive) == 0) {
        return {};
    }
    const bool isNamedGeneral = name.compare(QLatin1String("%general"), Qt::CaseInsensitive) == 0;
    return (isNamedGeneral ? name.mid(1) : unescapedKey(name)) + QLatin1Char('/');
}
} // namespace

IniText::Content IniText::parse(const QByteArray &text)
{
    Lines lines(latin1(text));
    Content content;
    QString section;
    QString line;
    for (int equals = -1; lines.next(line, equals);) {
        if (line.startsWith(QLatin1Char('['))) {
            const int end = line.indexOf(QLatin1Char(']'));
            content.isWhole = content.isWhole && end >= 0;
            section = sectionOf(line.mid(1, end < 0 ? -1 : end - 1));
        } else if (equals < 0) {
            content.isWhole = false;
        } else {
            QVariantList values;
            for (const QString &part : unescapedValue(line.mid(equals + 1))) {
                values += variantOf(part);
            }
            content.values[section + unescapedKey(line.left(equals).trimmed())] =
                values.size() == 1 ? values.first() : QVariant(QVariant(values).toStringList());
        }
    }
    return content;
}

QByteArray IniText::write(const QVariantMap &values)
{
    QMap<QString, QByteArray> sections; // that without a name first
    for (auto entry = values.begin(); entry != values.end(); ++entry) {
        const int slash = entry.key().indexOf(QLatin1Char('/'));
        sections[entry.key().left(std::max(slash, 0))] +=
            escapedKey(entry.key().mid(slash + 1)) + '=' + escapedValue(entry.value()) + '\n';
    }
    QByteArray text;
    for (auto section = sections.begin(); section != sections.end(); ++section) {
        const bool isNamedGeneral = section.key().compare(QLatin1String("general"), Qt::CaseInsensitive) == 0;
        const QByteArray name = section.key().isEmpty() ? "General"
                                : isNamedGeneral        ? '%' + section.key().toLatin1()
                                                        : escapedKey(section.key());
        text += (text.isEmpty() ? "[" : "\n[") + name + "]\n" + section.value();
    }
    return text;
}

QString IniText::key(const QString &text)
{
    return text.split(QLatin1Char('/'), Qt::SkipEmptyParts).join(QLatin1Char('/'));
}
