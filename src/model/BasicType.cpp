#include "model/BasicType.h"

#include "model/ProgramContext.h"
#include "model/RecordStream.h"

#include <QCoreApplication>

void BasicType::setType(int code)
{
    if (isBuiltInType(code) || (m_program && m_program->findType(code))) {
        m_typeCode = code;
    } else {
        reportError(m_program, QT_TRANSLATE_NOOP("messages", "Wrong data type"));
    }
}

void BasicType::copyAttributes(const BasicType &other)
{
    m_name = other.m_name;
    m_typeCode = other.m_typeCode; // was checked when the other value took it
    setConst(other.m_const);
    m_storageClass = other.m_storageClass;
    m_placement = other.m_placement;
    m_initialised = other.m_initialised;
    m_program = other.m_program;
}

void BasicType::writeTo(RecordWriter &writer) const
{
    writer.writeInt(m_typeCode);
    writer.writeText(m_name.text());
    writer.writeBool(m_const);
    writer.writeInt(m_storageClass);
    writer.writeInt(m_placement);
    writer.writeBool(m_initialised);
}

void BasicType::readFrom(RecordReader &reader)
{
    setTypeUnchecked(reader.readInt());
    m_name = Name(reader.readText());
    m_const = reader.readBool();
    m_storageClass = static_cast<qint16>(reader.readInt());
    m_placement = static_cast<qint16>(reader.readInt());
    m_initialised = reader.readBool();
}

void Double::setValue(double number)
{
    m_number = normalised(typeCode(), number);
    if (program() && !name().isEmpty()) {
        program()->variableChanged(name(), integerPart(number));
    }
}

void Double::setType(int code)
{
    BasicType::setType(code);
    m_number = normalised(typeCode(), m_number);
}

std::unique_ptr<BasicType> Double::clone() const
{
    auto copy = std::make_unique<Double>(m_number, typeCode());
    copy->copyAttributes(*this);
    return copy;
}

void Double::writeTo(RecordWriter &writer) const
{
    BasicType::writeTo(writer);
    writer.writeDouble(m_number);
}

void Double::readFrom(RecordReader &reader)
{
    BasicType::readFrom(reader);
    m_number = normalised(typeCode(), reader.readDouble());
}
