#pragma once
#include <QByteArray>
#include <QString>

#include <optional>
#include <string_view>

/// A printf-style pattern with exactly one conversion, taken apart before any formatter sees it.
/// Width and precision are bounded and never taken from arguments, so a pattern can neither read past the one number
/// that it gets nor ask for a text of any size.
class FormatPattern
{
public:
    static constexpr int kMostDigits = 1024; // of width and precision

    /// \param pattern  bytes, each a Latin-1 character; %% stands for a percent sign
    /// Nothing when it has no conversion or several, or one that no number fits.
    static std::optional<FormatPattern> parse(std::string_view pattern);

    /// The text for a number of that type code; nothing when the conversion does not fit the type.
    std::optional<QString> text(double number, int typeCode) const;

private:
    QString integerText(quint64 bits, int width) const; // width of the number in bits

    QString m_before{};
    QString m_after{};
    QByteArray m_flags{}; // with '%', flags, width and precision
    char m_conversion = 0;
    int m_narrowBits = 64; // of the length modifiers h and hh
};
