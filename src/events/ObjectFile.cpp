#include "events/ObjectFile.h"

#include "base/Clock.h"
#include "events/EventHandlers.h"
#include "interp/ProgramFunction.h"
#include "interp/Statements.h"
#include "program/AST.h"

#include <QDataStream>

namespace {
class ProgramNodes : public NodeFactory
{
public:
    std::unique_ptr<Expression> makeExpression(int tag) const override { return ::makeExpression(tag); }
    std::unique_ptr<Statement> makeStatement(int tag) const override { return ::makeStatement(tag); }
    std::unique_ptr<SubEventHandler> makeSubEventHandler(int tag) const override { return ::makeSubEventHandler(tag); }
    std::unique_ptr<EventHandler> makeEventHandler(int tag) const override { return ::makeEventHandler(tag); }
};

std::unique_ptr<Statement> readBlock(NodeReader &reader)
{
    if (!reader.readBool()) {
        return nullptr;
    }
    auto list = std::make_unique<StatementList>();
    list->readFrom(reader);
    return list;
}

void writeBlock(NodeWriter &writer, const std::unique_ptr<Statement> &block)
{
    writer.writeBool(block != nullptr);
    if (block) {
        block->writeTo(writer);
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

void readExclusives(AST &program, NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        if (std::unique_ptr<Exclusive> group = makeExclusive(reader.readInt())) {
            group->readFrom(reader);
            program.addExclusive(std::move(group));
        }
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

void readEventHandlers(AST &program, NodeReader &reader)
{
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        if (std::unique_ptr<EventHandler> handler = makeEventHandler(reader.readInt())) {
            handler->readFrom(reader);
            program.addEventHandler(std::move(handler));
        }
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

/// A list of nodes that write a tag and then themselves.
template <class List>
void writeTagged(NodeWriter &writer, const List &list)
{
    writer.writeInt(static_cast<int>(list.size()));
    for (const auto &node : list) {
        writer.writeInt(node->typeTag());
        node->writeTo(writer);
    }
}
} // namespace

const NodeFactory &programNodes()
{
    static const ProgramNodes nodes;
    return nodes;
}

bool loadObjectFile(AST &program, QDataStream &stream)
{
    NodeReader reader(stream, programNodes());
    if (reader.readInt() != kObjectFileMagic || reader.readInt() != kObjectFileVersion) {
        return false;
    }
    program.setProgramName(reader.readText());
    readTypes(program, reader);
    readGlobals(program, reader);
    readExclusives(program, reader);
    readCallables(program, reader);
    program.startBlock = readBlock(reader);
    program.mainlineBlock = readBlock(reader);
    readEventHandlers(program, reader);
    program.combinations().readFrom(reader);
    program.levels().readFrom(reader);
    if (reader.readInt() != kObjectFileEnd) {
        program.clear();
        return false;
    }
    for (BasicType *value : program.globalsInOrder()) {
        program.storage().restoreVariable(*value);
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
    const Clock clock(Clock::Drive::ByHand);
    AST program(QStringLiteral(":/no-such-directory"));
    QDataStream stream(objectFile);
    return loadObjectFile(program, stream)
               ? QString()
               : QStringLiteral("the object file is damaged: its end mark is missing, or it is nested too deeply");
}

void writeObjectFile(const AST &program, QDataStream &stream)
{
    NodeWriter writer(stream);
    writer.writeInt(kObjectFileMagic);
    writer.writeInt(kObjectFileVersion);
    writer.writeText(program.programName());
    writeTypes(program, writer);
    writeGlobals(program, writer);
    writeTagged(writer, program.exclusives());
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
    writeTagged(writer, program.eventHandlers());
    program.combinations().writeTo(writer);
    program.levels().writeTo(writer);
    writer.writeInt(kObjectFileEnd);
}
