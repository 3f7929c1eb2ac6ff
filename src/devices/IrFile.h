#pragma once
#include <QByteArray>
#include <QString>

/// The code file of one IR emitter; docs/formats/ir-file.md has its layout.
namespace IrFile {
enum class Outcome { Found, NotFound, CannotOpen };

struct Lookup
{
    Outcome outcome = Outcome::NotFound;
    QByteArray code; // what the emitter takes, when found
};

/// The first record with that code number (0 to 255). A file of another kind or version, or one that ends early,
/// has no records after the fault. The file is read anew each time, so that an uploaded one counts at once.
Lookup find(const QString &path, int codeNumber);
} // namespace IrFile
