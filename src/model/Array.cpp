#include "model/Array.h"

#include "model/ProgramContext.h"
#include "model/RecordStream.h"
#include "model/Values.h"

#include <QCoreApplication>

#include <algorithm>

ValueView ValueView::of(const BasicType *value)
{
    if (!value) {
        return {};
    }
    if (const Double *number = asDouble(value)) {
        return ofNumber(number->value(), number->typeCode());
    }
    return { Kind::Object, value->typeCode(), 0, value };
}

ValueView ValueView::of(const Place &place)
{
    if (place.number) {
        return ofNumber(*place.number, place.typeCode);
    }
    return place.array ? ofNumber(place.array->number(place.index), place.array->typeCode()) : of(place.object);
}

ValueRef ValueView::toValue() const
{
    switch (kind) {
    case Kind::Number:
        return std::make_shared<Double>(number, typeCode);
    case Kind::Object:
        return ValueRef(object->clone());
    case Kind::None:
        break;
    }
    return {};
}

Array::Array(int typeCode)
    : BasicType(ValueClass::Array, typeCode)
    , m_elements(typeCode)
{}

Array::Array(std::string_view bytes)
    : BasicType(ValueClass::Array, CharType)
    , m_length(static_cast<int>(bytes.size()))
    , m_maxLength(m_length)
    , m_elements(bytes)
{}

void Array::setLength(int length)
{
    m_length = std::max(length, 0);
    if (m_length == 0) {
        m_elements.forgetNumbers();
    }
}

void Array::setMaxLength(int maxLength)
{
    if (maxLength < 0) {
        reportError(program(), QT_TRANSLATE_NOOP("messages", "Array size cannot be negative"));
    }
    m_maxLength = maxLength;
}

Place Array::place(int index)
{
    if (isPacked()) {
        if (!hasElement(index)) {
            if (index < 1 || index > capacity()) {
                return {};
            }
            if (!m_elements.isNear(index)) {
                m_elements.unpack();
                m_elements.makeSparse();
                return place(index);
            }
            m_elements.makeNumber(index);
        }
        return { nullptr, this, index, nullptr, 0 };
    }
    if (BasicType *stored = object(index)) {
        return { stored, nullptr, 0, nullptr, 0 };
    }
    if (index < 1 || index > capacity()) {
        return {};
    }
    std::unique_ptr<BasicType> made = makeElement();
    if (!made) {
        return {};
    }
    BasicType *element = made.get();
    m_elements.setObject(index, std::move(made));
    return { element, nullptr, 0, nullptr, 0 };
}

ValueView Array::view(int index) const
{
    if (hasElement(index)) {
        return isPacked() ? ValueView::ofNumber(number(index), typeCode()) : ValueView::of(object(index));
    }
    if (index < 1 || index > capacity()) {
        return {};
    }
    const BasicType *first = object(1);
    if (isNumericType(typeCode()) && (!first || first->isNumber())) {
        return ValueView::ofNumber(0, first ? first->typeCode() : typeCode());
    }
    return ValueView::of(const_cast<Array *>(this)->place(index));
}

bool Array::firstIsArray() const
{
    return asArray(object(1)) != nullptr;
}

void Array::setElement(int index, std::unique_ptr<BasicType> value)
{
    if (!value) {
        return;
    }
    value->setName(Name()); // elements have no name of their own, so they move no level
    if (program() && !value->program()) {
        value->setProgram(program());
    }
    const bool packable = value->isNumber() && value->typeCode() == typeCode() && !value->isConst();
    if (isPacked() && packable && index >= 1 && m_elements.isNear(index)) {
        setNumber(index, static_cast<const Double &>(*value).value());
        return;
    }
    if (isPacked()) {
        m_elements.unpack();
    }
    if (!value->isArray()) {
        Array *row = asArray(object(index));
        if (row) {
            row->setElement(index, std::move(value));
            row->m_length = std::max(row->m_length, 1);
            return;
        }
        const Array *templateRow = asArray(object(1));
        if (templateRow && !object(index)) {
            std::unique_ptr<BasicType> newRow = templateRow->clone();
            Array *cells = asArray(newRow.get());
            cells->setElement(1, std::move(value));
            cells->m_length = std::max(cells->m_length, 1);
            m_elements.setObject(index, std::move(newRow));
            return;
        }
    }
    m_elements.setObject(index, std::move(value));
}

QByteArray Array::toBytes() const
{
    QByteArray hold;
    const std::string_view seen = bytes(hold);
    return seen.data() == hold.constData() ? hold : QByteArray(seen.data(), static_cast<int>(seen.size()));
}

void Array::assignBytes(std::string_view bytes)
{
    const size_t room = m_maxLength > 0 ? std::min(bytes.size(), static_cast<size_t>(m_maxLength)) : bytes.size();
    const bool isDone = m_elements.overwriteBytes(bytes.substr(0, room));
    setLength(static_cast<int>(room));
    for (size_t offset = 0; !isDone && offset < room; ++offset) {
        assignValue(place(static_cast<int>(offset) + 1),
                    ValueView::ofNumber(static_cast<quint8>(bytes[offset]), CharType));
    }
}

void Array::appendBytes(std::string_view bytes)
{
    if (m_maxLength > 0) {
        bytes = bytes.substr(0, static_cast<size_t>(std::max(m_maxLength - m_length, 0)));
    }
    if (m_elements.appendBytes(m_length, bytes)) {
        m_length += static_cast<int>(bytes.size());
        return;
    }
    for (const char byte : bytes) {
        ++m_length;
        assignValue(place(m_length), ValueView::ofNumber(static_cast<quint8>(byte), CharType));
    }
}

void Array::dropFront(int count)
{
    count = std::clamp(count, 0, m_length);
    if (!m_elements.dropFront(count)) {
        for (int index = 1; index + count <= m_length; ++index) {
            assignValue(place(index), view(index + count));
        }
    }
    setLength(m_length - count);
}

void Array::clearElements()
{
    m_elements.clear();
    m_length = 0;
}

void Array::swapContent(Array &other)
{
    std::swap(m_length, other.m_length);
    std::swap(m_maxLength, other.m_maxLength);
    std::swap(m_elements, other.m_elements);
}

void Array::setType(int code)
{
    const int before = typeCode();
    BasicType::setType(code);
    if (typeCode() != before) {
        m_elements.setType(code);
    }
}

void Array::setProgram(ProgramContext *program)
{
    BasicType::setProgram(program);
    m_elements.forEachObject([program](BasicType &element) { element.setProgram(program); });
}

std::unique_ptr<BasicType> Array::clone() const
{
    auto copy = std::make_unique<Array>(typeCode());
    copy->copyAttributes(*this);
    copy->m_length = m_length;
    copy->setMaxLength(m_maxLength != 0 ? m_maxLength : m_length);
    copy->m_elements = m_elements.clone();
    return copy;
}

void Array::writeTo(RecordWriter &writer) const
{
    BasicType::writeTo(writer);
    writer.writeInt(m_maxLength);
    writer.writeInt(m_length);
    if (isPacked()) {
        Double element(0, typeCode());
        element.setInitialised(true);
        for (int index = 1; index <= m_length; ++index) {
            *element.storage() = number(index);
            writeValue(writer, &element);
        }
        return;
    }
    for (int index = 1; index <= m_length; ++index) {
        writeValue(writer, const_cast<Array *>(this)->place(index).object);
    }
}

void Array::readFrom(RecordReader &reader)
{
    BasicType::readFrom(reader);
    m_elements = ElementStore(typeCode());
    m_length = 0;
    setMaxLength(reader.readInt());
    const int length = reader.readInt();
    for (int index = 1; index <= length && reader.isGood(); ++index) {
        setElement(index, readValue(reader));
    }
    setLength(reader.isGood() ? length : 0);
}

void Array::assignFrom(const ValueView &source)
{
    if (source.isNumber()) {
        auto element = std::make_unique<Double>(source.number, source.typeCode);
        element->setInitialised(true);
        setElement(1, std::move(element));
        m_length = 1;
        setInitialised(true);
        return;
    }
    const Array *from = source.array();
    if (!from || from == this) {
        return;
    }
    if ((m_length == 0 || !firstIsArray()) && from->m_length == 1 && from->firstIsArray()) {
        const Array *row = asArray(from->object(1));
        setLength(row->m_length);
        assignFrom(ValueView::of(row));
        return;
    }
    assignSizes(*from);
    assignElements(*from);
    setInitialised(true);
}

void Array::assignSizes(const Array &source)
{
    setLength(m_maxLength != 0 ? std::min(source.m_length, std::max(m_maxLength, 0)) : source.m_length);
    if (capacity() == 0) {
        m_maxLength = source.capacity();
    }
    Array *row = asArray(object(1));
    const Array *sourceRow = asArray(source.object(1));
    if (row && sourceRow) {
        row->assignSizes(*sourceRow);
    }
}

void Array::assignElements(const Array &source)
{
    const int count = capacity() > 0 ? std::min(source.m_length, capacity()) : 0;
    const bool isWhole =
        !source.m_elements.hasHoles() && source.m_elements.size() >= static_cast<size_t>(source.m_length);
    if (isWhole && isPackedBytes() && source.isPackedBytes() && m_elements.isNear(std::max(count, 1))) {
        const int length = m_length;
        QByteArray hold;
        assignBytes(source.bytes(hold).substr(0, static_cast<size_t>(count)));
        m_length = length;
        return;
    }
    if (isWhole && m_elements.overwriteNumbers(source.m_elements, count)) {
        return;
    }
    for (int index = 1; index <= count; ++index) {
        const ValueView element = source.view(index);
        Place target = place(index);
        if (!element.array()) {
            while (Array *row = asArray(target.object)) { // down to the first cell of the row
                target = row->place(1);
            }
        }
        assignValue(target, element);
    }
}

std::unique_ptr<BasicType> Array::makeElement() const
{
    const BasicType *first = object(1);
    if (!first) {
        return makeValue(typeCode(), program());
    }
    if (const Array *row = asArray(first)) {
        return row->emptyRow();
    }
    std::unique_ptr<BasicType> made = first->clone();
    BasicType *cell = made.get();
    if (Double *number = asDouble(cell)) {
        *number->storage() = 0;
    } else if (Device *device = asDevice(cell)) {
        device->setAddress({});
    }
    return made;
}

std::unique_ptr<Array> Array::emptyRow() const
{
    auto row = std::make_unique<Array>(typeCode());
    row->copyAttributes(*this);
    row->m_maxLength = m_maxLength;
    if (const Array *inner = asArray(object(1))) {
        row->setElement(1, inner->emptyRow());
    }
    return row;
}
