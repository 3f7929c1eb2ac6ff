#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <vector>

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

constexpr int kHeaderTexts = 5;
constexpr int kLastCodeNumber = 255;
constexpr int kFirstChannel = 100; // the IR channel of code number 0

struct Record
{
    QString name;
    qint32 codeNumber = 0;
    std::array<qint32, 6> unusedNumbers{};
    QByteArray code;
};

struct Contents // of a whole file, for tools
{
    QStringList headers; // five
    std::vector<Record> records;
};

/// Nothing when it is of another kind or version, or ends early.
std::optional<Contents> read(const QByteArray &file);
QByteArray written(const Contents &contents); // missing headers are empty, more than five are left out
} // namespace IrFile
