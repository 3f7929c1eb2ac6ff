#include "model/Values.h"

#include "model/ProgramContext.h"
#include "model/RecordStream.h"

#include <QDataStream>
#include <QtEndian>

#include <bit>
#include <cmath>

namespace {
enum ValueKind : int { NoKind = -1, DoubleKind = 1, ArrayKind = 2, DeviceKind = 3, StructKind = 100 };

void assignToDevice(Device &device, const ValueView &source)
{
    double number = 0;
    if (const Device *from = asDevice(source.object)) {
        device.setAddress(from->address());
    } else if (source.array() ? source.array()->view(1).isNumber() && numberOf(source, number)
                              : numberOf(source, number)) {
        device.setAddress({ integerPart32(number), 1, 0 });
    } else {
        return;
    }
    device.setInitialised(true);
}

/// The number that a scalar takes from a source: an array gives its first element unless it is empty.
bool numberToAssign(const ValueView &source, double &number)
{
    if (source.isNumber()) {
        number = source.number;
        return true;
    }
    const Array *array = source.array();
    return array && array->length() >= 1 && numberOf(source, number);
}

void assignToStruct(StructType &structure, const ValueView &source)
{
    if (const StructType *from = asStruct(source.object)) {
        if (from->typeCode() != structure.typeCode() || from == &structure) {
            return;
        }
        for (const StructType::Member &member : structure.members()) {
            assignValue(*member.value, ValueView::of(from->member(member.name)));
        }
        return;
    }
    const Array *list = source.array();
    if (!list) {
        return;
    }
    const ProgramContext *program = structure.program();
    if (const CustomTypeInfo *type = program ? program->findType(structure.typeCode()) : nullptr) {
        int index = 0;
        for (const TypeDecl &declaration : type->members()) {
            ++index;
            BasicType *member = structure.member(Name(declaration.name));
            if (member && index <= list->length()) {
                assignValue(*member, list->view(index));
            }
        }
    }
    structure.setInitialised(true);
}
bool readWhole(BasicType &value, const QByteArray &record)
{
    QDataStream stream(record);
    stream.setVersion(QDataStream::Qt_5_4);
    RecordReader reader(stream, value.program());
    value.readFrom(reader);
    return reader.isGood() && stream.atEnd();
}

/// A record does not say whether it is of a number or an array, and each can be read as the other: the size and length
/// of an array without elements are the bits of a number. As a number they are one that no program computes, and the
/// bits of a number are no size that an array has.
bool isOfKind(const BasicType &declared, const BasicType &read, const QByteArray &record)
{
    constexpr int kLargestSize = 1 << 24;
    if (isNumericType(declared.typeCode()) != isNumericType(read.typeCode()) ||
        (isBuiltInType(declared.typeCode()) != isBuiltInType(read.typeCode()))) {
        return false;
    }
    if (asDouble(&read)) {
        const quint64 bits =
            qFromBigEndian<quint64>(record.constData() + record.size() - sizeof(double)); // the last item
        return std::fpclassify(std::bit_cast<double>(bits)) != FP_SUBNORMAL;
    }
    if (const Array *array = asArray(&read)) {
        const int size = array->maxLength();
        const bool isEmpty = size == 0 && array->length() == 0; // or the number 0
        return size >= 0 && size <= kLargestSize && (!isEmpty || static_cast<const Array &>(declared).maxLength() == 0);
    }
    const bool hasRecordOfItsOwn = declared.valueClass() != ValueClass::Struct;
    return !hasRecordOfItsOwn || declared.typeCode() == read.typeCode();
}
} // namespace

void assignValue(const Place &destination, const ValueView &source)
{
    if (source.isNone()) {
        return;
    }
    double number = 0;
    if (destination.number) {
        if (numberToAssign(source, number)) {
            *destination.number = normalised(destination.typeCode, number);
        }
    } else if (destination.array) {
        if (numberToAssign(source, number)) {
            destination.array->setNumber(destination.index, number);
        }
    } else if (destination.object) {
        assignValue(*destination.object, source);
    }
}

void assignValue(BasicType &destination, const ValueView &source)
{
    if (source.isNone()) {
        return;
    }
    switch (destination.valueClass()) {
    case ValueClass::Double: {
        double number = 0;
        if (numberToAssign(source, number)) {
            auto &target = static_cast<Double &>(destination);
            target.setValue(number);
            target.setInitialised(true);
        }
        break;
    }
    case ValueClass::Array:
        static_cast<Array &>(destination).assignFrom(source);
        break;
    case ValueClass::Device:
        assignToDevice(static_cast<Device &>(destination), source);
        break;
    case ValueClass::Struct:
    case ValueClass::DevChan:
    case ValueClass::DevLev:
        assignToStruct(static_cast<StructType &>(destination), source);
        break;
    }
}

bool numberOf(const ValueView &value, double &number)
{
    if (value.isNumber()) {
        number = value.number;
        return true;
    }
    const Array *array = value.array();
    if (!array || !array->hasElement(1)) {
        return false;
    }
    const ValueView first = array->view(1);
    number = first.number;
    return first.isNumber();
}

std::string_view bytesOf(const ValueView &value, QByteArray &hold)
{
    if (const Array *array = value.array()) {
        return array->bytes(hold);
    }
    if (!value.isNumber()) {
        return {};
    }
    hold.fill(static_cast<char>(integerPart(value.number)), 1);
    return { hold.constData(), 1 };
}

std::unique_ptr<BasicType> makeValue(int typeCode, ProgramContext *program, int depth)
{
    std::unique_ptr<BasicType> value;
    if (isNumericType(typeCode)) {
        value = std::make_unique<Double>(0, typeCode);
    } else if (typeCode == DeviceType) {
        value = std::make_unique<Device>();
    } else if (const CustomTypeInfo *type = program ? program->findType(typeCode) : nullptr) {
        return type->instantiate(typeCode, program, depth);
    } else {
        return nullptr;
    }
    value->setProgram(program);
    return value;
}

void writeValue(RecordWriter &writer, const BasicType *value)
{
    writer.writeBool(value != nullptr);
    if (!value) {
        return;
    }
    switch (value->valueClass()) {
    case ValueClass::Double:
        writer.writeInt(DoubleKind);
        value->writeTo(writer);
        break;
    case ValueClass::Array:
        writer.writeInt(ArrayKind);
        value->writeTo(writer);
        break;
    case ValueClass::Device:
        writer.writeInt(DeviceKind);
        value->writeTo(writer);
        break;
    case ValueClass::Struct:
    case ValueClass::DevChan:
    case ValueClass::DevLev:
        writer.writeInt(StructKind); // always the members by name, also of a DevChan or DevLev
        static_cast<const StructType *>(value)->StructType::writeTo(writer);
        break;
    }
}

std::unique_ptr<BasicType> readValue(RecordReader &reader)
{
    const RecordReader::Nested nested(reader);
    if (!reader.readBool()) {
        return nullptr;
    }
    std::unique_ptr<BasicType> value;
    switch (reader.readInt()) {
    case DoubleKind:
        value = std::make_unique<Double>();
        break;
    case ArrayKind:
        value = std::make_unique<Array>();
        break;
    case DeviceKind:
        value = std::make_unique<Device>();
        break;
    case StructKind:
        value = std::make_unique<StructType>();
        break;
    default:
        return nullptr;
    }
    value->setProgram(reader.program());
    value->readFrom(reader);
    return reader.isGood() ? std::move(value) : nullptr;
}

QByteArray recordOf(const BasicType &value)
{
    QByteArray record;
    QDataStream stream(&record, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_4);
    RecordWriter writer(stream);
    value.writeTo(writer);
    return record;
}

bool readRecord(BasicType &value, const QByteArray &record)
{
    const std::unique_ptr<BasicType> read = value.clone();
    if (!readWhole(*read, record) || !isOfKind(value, *read, record)) {
        return false;
    }
    const int typeCode = value.typeCode();
    readWhole(value, record);
    if (asStruct(&value)) {
        value.setType(typeCode); // the codes of structures change when another is declared
    }
    return true;
}
