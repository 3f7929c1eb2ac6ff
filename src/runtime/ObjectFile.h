#pragma once
#include <QByteArray>
#include <QString>

#include <vector>

class AST;
class QDataStream;

/// The binary program file: docs/formats/object-file.md.
constexpr qint32 kObjectFileMagic = static_cast<qint32>(0xCEFB2EF2);
constexpr qint32 kObjectFileVersion = 321;
constexpr qint32 kObjectFileEnd = 0xAA55;

/// Fills a program object that has its system symbols and built-ins. A file with a wrong magic, version or end mark,
/// one that ends too early or nests deeper than RecordReader::kMaxDepth leaves the program empty.
/// Returns whether the load succeeded.
bool loadObjectFile(AST &program, QDataStream &stream);

/// What is wrong with an object file, for people; empty when it can be loaded.
QString objectFileProblem(const QByteArray &objectFile);

/// Writes the program's own parts (not the system's symbols and types).
/// \returns  Statement::place of its statements, in the order of the file
std::vector<int> writeObjectFile(const AST &program, QDataStream &stream);
