#pragma once
#include <QtGlobal>
#include <algorithm>
#include <cmath>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

/// The number rules that every conversion and comparison in the system uses.
/// All numbers of the control language are held as doubles; these turn them into integers and compare them.

/// The rule behind integerPart(), for any number.
inline qint64 integerPartOf(double number)
{
    const double nudged = number > 0 ? number + 1e-10 : number - 1e-10;
    if (nudged >= 9223372036854775808.0) {
        return std::numeric_limits<qint64>::max();
    }
    if (nudged >= -9223372036854775808.0) {
        return static_cast<qint64>(nudged);
    }
    return std::isnan(nudged) ? 0 : std::numeric_limits<qint64>::min();
}

/// The number without its fraction where it fits into 64 bits; some number that compares unequal to it where not.
/// For quick tests of the kind "is it whole".
inline qint64 quickInteger(double number)
{
#ifdef __SSE2__
    return _mm_cvttsd_si64(_mm_set_sd(number));
#else
    return std::fabs(number) < 9e18 ? static_cast<qint64>(number) : std::numeric_limits<qint64>::min();
#endif
}

/// The 64-bit integer of a number: nudged by 1e-10 away from zero, then truncated toward zero.
/// Saturates beyond the 64-bit range; NaN gives 0.
inline qint64 integerPart(double number)
{
    const qint64 whole = quickInteger(number);
    if (static_cast<double>(whole) == number && std::fabs(number) < 9e18) {
        return whole; // the common case
    }
    return integerPartOf(number);
}

/// The integer rule as a 32-bit integer (the low 32 bits).
inline int integerPart32(double number)
{
    return static_cast<int>(static_cast<quint32>(integerPart(number)));
}

/// True when the number lies within 1e-7 of its integer part.
inline bool isWholeNumber(double number)
{
    return std::fabs(number - static_cast<double>(integerPart(number))) < 1e-7;
}

/// Relative equality: |a - b| * 1e12 <= min(|a|, |b|).
inline bool fuzzyEqual(double a, double b)
{
    return std::fabs(a - b) * 1e12 <= std::min(std::fabs(a), std::fabs(b));
}

/// Equality of two program numbers; moved by 1 so that values near zero compare sensibly.
inline bool numbersEqual(double a, double b)
{
    return a == b || fuzzyEqual(a + 1, b + 1);
}

/// Whether a program number counts as zero.
inline bool isZeroNumber(double number)
{
    return number == 0 || fuzzyEqual(number + 1, 1);
}
