#include "model/CustomTypeInfo.h"

#include "model/RecordStream.h"
#include "model/Values.h"

namespace {
TypeDecl scalar(const char *name, int typeCode)
{
    return { QString::fromLatin1(name), typeCode, {} };
}

std::unique_ptr<BasicType> makeMember(const TypeDecl &declaration, ProgramContext *program, int depth)
{
    if (declaration.dimensions.empty()) {
        std::unique_ptr<BasicType> value = makeValue(declaration.typeCode, program, depth);
        return value ? std::move(value) : std::make_unique<Double>(0, declaration.typeCode);
    }
    std::unique_ptr<Array> outer;
    for (auto size = declaration.dimensions.rbegin(); size != declaration.dimensions.rend(); ++size) {
        auto array = std::make_unique<Array>(declaration.typeCode);
        array->setProgram(program);
        array->setMaxLength(*size);
        array->setElement(1, std::move(outer));
        outer = std::move(array);
    }
    return outer;
}
} // namespace

void TypeDecl::writeTo(RecordWriter &writer) const
{
    writer.writeText(name);
    writer.writeInt(typeCode);
    writer.writeInt(static_cast<int>(dimensions.size()));
    for (const int size : dimensions) {
        writer.writeInt(size);
    }
}

void TypeDecl::readFrom(RecordReader &reader)
{
    name = reader.readText();
    typeCode = reader.readInt();
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        dimensions.push_back(reader.readInt());
    }
}

std::unique_ptr<StructType> CustomTypeInfo::instantiate(int typeCode, ProgramContext *program, int depth) const
{
    constexpr int kMaxDepth = 16;
    auto structure = std::make_unique<StructType>();
    structure->setProgram(program);
    structure->setType(typeCode);
    if (depth < kMaxDepth) {
        for (const TypeDecl &declaration : m_members) {
            structure->addMember(Name(declaration.name), makeMember(declaration, program, depth + 1));
        }
    }
    return structure;
}

void CustomTypeInfo::writeTo(RecordWriter &writer) const
{
    writer.writeText(m_name);
    writer.writeInt(static_cast<int>(m_members.size()));
    for (const TypeDecl &member : m_members) {
        member.writeTo(writer);
    }
}

void CustomTypeInfo::readFrom(RecordReader &reader)
{
    m_name = reader.readText();
    const int count = reader.readInt();
    for (int i = 0; i < count && reader.isGood(); ++i) {
        TypeDecl member;
        member.readFrom(reader);
        m_members.push_back(std::move(member));
    }
}

DevChanTypeInfo::DevChanTypeInfo()
    : CustomTypeInfo(QStringLiteral("devchan"), { scalar("device", DeviceType), scalar("channel", IntegerType) })
{}

std::unique_ptr<StructType> DevChanTypeInfo::instantiate(int typeCode, ProgramContext *program, int) const
{
    auto value = std::make_unique<DevChan>(program);
    value->setType(typeCode);
    return value;
}

DevLevTypeInfo::DevLevTypeInfo()
    : CustomTypeInfo(QStringLiteral("devlev"), { scalar("device", DeviceType), scalar("level", IntegerType) })
{}

std::unique_ptr<StructType> DevLevTypeInfo::instantiate(int typeCode, ProgramContext *program, int) const
{
    auto value = std::make_unique<DevLev>(program);
    value->setType(typeCode);
    return value;
}
