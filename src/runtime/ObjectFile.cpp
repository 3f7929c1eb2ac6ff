#include "runtime/ObjectFile.h"

#include "events/EventHandlers.h"
#include "interp/ProgramFunction.h"
#include "interp/nodes/Statements.h"
#include "program/AST.h"
#include "program/NodeStream.h"

#include <QDataStream>

namespace {
std::unique_ptr<Statement> readBlock(NodeReader &reader)
{
    std::unique_ptr<StatementList> list;
    reader.optional(list);
    return list;
}

void writeBlock(NodeWriter &writer, const std::unique_ptr<Statement> &block)
{
    writer.writeBool(block != nullptr);
    if (block) {
        writer(static_cast<const StatementList &>(*block));
    }
}

void readTypes(AST &program, NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        const int code = reader.readInt();
        auto type = std::make_unique<CustomTypeInfo>();
        type->readFrom(reader);
        if (reader.isGood()) {
            program.setCustomType(code, std::move(type));
        }
    }
}

void readGlobals(AST &program, NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        program.declareGlobal(readValue(reader));
    }
}

void readCallables(AST &program, NodeReader &reader)
{
    const int functionCount = reader.readInt();
    for (int i = 0; i < functionCount && reader.isGood(); ++i) {
        program.addFunction(ProgramFunction::read(reader));
    }
    const int routineCount = reader.readInt();
    for (int i = 0; i < routineCount && reader.isGood(); ++i) {
        program.addCallRoutine(ProgramRoutine::read(reader));
    }
}

void writeTypes(const AST &program, NodeWriter &writer)
{
    std::vector<std::pair<int, const CustomTypeInfo *>> own;
    for (const auto &[code, type] : program.customTypes()) {
        if (code != DevChan::kTypeCode && code != DevLev::kTypeCode) {
            own.emplace_back(code, type.get());
        }
    }
    writer.writeInt(static_cast<int>(own.size()));
    for (const auto &[code, type] : own) {
        writer.writeInt(code);
        type->writeTo(writer);
    }
}

void writeGlobals(const AST &program, NodeWriter &writer)
{
    std::vector<const BasicType *> own;
    for (const BasicType *value : program.globalsInOrder()) {
        if (!program.isSystemSymbol(value)) {
            own.push_back(value);
        }
    }
    writer.writeInt(static_cast<int>(own.size()));
    for (const BasicType *value : own) {
        writeValue(writer, value);
    }
}
} // namespace

bool loadObjectFile(AST &program, QDataStream &stream)
{
    NodeReader reader(stream, programNodes(), &program);
    if (reader.readInt() != kObjectFileMagic || reader.readInt() != kObjectFileVersion) {
        return false;
    }
    program.setProgramName(reader.readText());
    readTypes(program, reader);
    readGlobals(program, reader);
    std::vector<std::unique_ptr<Exclusive>> groups;
    reader.tagged(groups, exclusiveTable());
    for (auto &group : groups) {
        program.addExclusive(std::move(group));
    }
    readCallables(program, reader);
    program.startBlock = readBlock(reader);
    program.mainlineBlock = readBlock(reader);
    std::vector<std::unique_ptr<EventHandler>> handlers;
    reader.tagged(handlers, programNodes().eventHandlers);
    for (auto &handler : handlers) {
        program.addEventHandler(std::move(handler));
    }
    program.combinations().readFrom(reader);
    reader(program.levels());
    if (reader.readInt() != kObjectFileEnd) {
        program.clear();
        return false;
    }
    return true;
}

QString objectFileProblem(const QByteArray &objectFile)
{
    QDataStream head(objectFile);
    qint32 magic = 0;
    qint32 version = 0;
    head >> magic >> version;
    if (head.status() != QDataStream::Ok || magic != kObjectFileMagic) {
        return QStringLiteral("this is no object file");
    }
    if (version != kObjectFileVersion) {
        return QStringLiteral("the object file has version %1; only %2 is known").arg(version).arg(kObjectFileVersion);
    }
    AST program;
    QDataStream stream(objectFile);
    return loadObjectFile(program, stream)
               ? QString()
               : QStringLiteral("the object file is damaged: its end mark is missing, or it is nested too deeply");
}

std::vector<int> writeObjectFile(const AST &program, QDataStream &stream)
{
    NodeWriter writer(stream, programNodes());
    writer.writeInt(kObjectFileMagic);
    writer.writeInt(kObjectFileVersion);
    writer.writeText(program.programName());
    writeTypes(program, writer);
    writeGlobals(program, writer);
    writer.tagged(program.exclusives(), exclusiveTable());
    writer.writeInt(static_cast<int>(program.functions().size()));
    for (const auto &function : program.functions()) {
        static_cast<const ProgramFunction &>(*function).writeTo(writer);
    }
    writer.writeInt(static_cast<int>(program.callRoutines().size()));
    for (const auto &routine : program.callRoutines()) {
        static_cast<const ProgramRoutine &>(*routine).writeTo(writer);
    }
    writeBlock(writer, program.startBlock);
    writeBlock(writer, program.mainlineBlock);
    writer.tagged(program.eventHandlers(), programNodes().eventHandlers);
    program.combinations().writeTo(writer);
    writer(program.levels());
    writer.writeInt(kObjectFileEnd);
    return writer.takePlaces();
}
