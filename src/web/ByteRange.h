#pragma once
#include <QtGlobal>

#include <optional>
#include <string_view>

/// The bytes of a file that a client asks for.
struct ByteRange
{
    qint64 first = 0;
    qint64 last = 0; // is included

    qint64 size() const { return last - first + 1; }

    /// Whether a Range header's value asks for bytes at all; else it is served as if it were absent.
    static bool isMeant(std::string_view header);
    /// Nothing: there are no such bytes. Facts: docs/formats/web.md, "Ranges".
    static std::optional<ByteRange> parse(std::string_view header, qint64 fileSize);
};
