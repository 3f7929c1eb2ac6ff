#include "model/Array.h"

#include "model/ProgramContext.h"
#include "model/RecordStream.h"
#include "model/Values.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstring>

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
    , m_packing(packingOf(typeCode))
{}

Array::Array(std::string_view bytes)
    : BasicType(ValueClass::Array, CharType)
    , m_length(static_cast<int>(bytes.size()))
    , m_maxLength(m_length)
    , m_packing(Packing::Bytes)
    , m_bytes(bytes.begin(), bytes.end())
{}

void Array::setLength(int length)
{
    m_length = std::max(length, 0);
    if (m_length == 0) {
        forgetNumbers();
    }
}

void Array::setMaxLength(int maxLength)
{
    if (maxLength < 0) {
        reportProgramError(QT_TRANSLATE_NOOP("messages", "Array size cannot be negative"));
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
            if (!mayGrowDense(index)) {
                unpack();
                makeSparse();
                return place(index);
            }
            growPacked(index);
        }
        return { nullptr, this, index, nullptr, 0 };
    }
    if (BasicType *stored = storedObject(index)) {
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
    storeObject(index, std::move(made));
    return { element, nullptr, 0, nullptr, 0 };
}

bool Array::hasElement(int index) const
{
    if (!isPacked()) {
        return storedObject(index) != nullptr;
    }
    const auto offset = static_cast<size_t>(index) - 1;
    return index >= 1 && offset < storedCount() && (!m_holes || !m_holes->missing[offset]);
}

ValueView Array::view(int index) const
{
    if (hasElement(index)) {
        return isPacked() ? ValueView::ofNumber(number(index), typeCode()) : ValueView::of(storedObject(index));
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

const BasicType *Array::object(int index) const
{
    return isPacked() ? nullptr : storedObject(index);
}

void Array::setElement(int index, std::unique_ptr<BasicType> value)
{
    if (!value) {
        return;
    }
    value->setName(Name()); // elements have no name of their own, so they move no level
    const bool packable = value->isNumber() && value->typeCode() == typeCode() && !value->isConst();
    if (isPacked() && packable && index >= 1 && mayGrowDense(index)) {
        setNumber(index, static_cast<const Double &>(*value).value());
        return;
    }
    if (isPacked()) {
        unpack();
    }
    if (!value->isArray()) {
        Array *row = asArray(storedObject(index));
        if (row) {
            row->setElement(index, std::move(value));
            row->m_length = std::max(row->m_length, 1);
            return;
        }
        const Array *templateRow = asArray(storedObject(1));
        if (templateRow && !storedObject(index)) {
            std::unique_ptr<BasicType> newRow = templateRow->clone();
            Array *cells = asArray(newRow.get());
            cells->setElement(1, std::move(value));
            cells->m_length = std::max(cells->m_length, 1);
            storeObject(index, std::move(newRow));
            return;
        }
    }
    storeObject(index, std::move(value));
}

double Array::number(int index) const
{
    const auto offset = static_cast<size_t>(index) - 1;
    if (index < 1 || offset >= storedCount()) {
        return 0;
    }
    return m_packing == Packing::Bytes ? static_cast<quint8>(m_bytes[m_begin + offset]) : m_numbers[offset];
}

void Array::setNumber(int index, double value)
{
    Q_ASSERT(isPacked() && index >= 1);
    if (!hasElement(index)) {
        growPacked(index);
    }
    setPackedNumber(index, value);
    const auto offset = static_cast<size_t>(index) - 1;
    if (m_packing == Packing::Bytes) {
        m_bytes[m_begin + offset] = static_cast<char>(integerPart(value));
    } else {
        m_numbers[offset] = normalised(typeCode(), value);
    }
}

std::string_view Array::bytes(QByteArray &hold) const
{
    if (m_packing == Packing::Bytes && !m_holes) {
        const size_t count = std::min(storedCount(), static_cast<size_t>(m_length));
        return { m_bytes.data() + m_begin, count };
    }
    hold.clear();
    const int stored = isPacked() ? static_cast<int>(std::min(storedCount(), static_cast<size_t>(m_length))) : m_length;
    if (m_packing == Packing::Sparse) {
        for (auto it = m_sparse->lower_bound(1); it != m_sparse->end() && it->first <= m_length; ++it) {
            if (const Double *element = asDouble(it->second.get())) {
                hold.append(static_cast<char>(integerPart(element->value())));
            }
        }
    } else {
        for (int index = 1; index <= stored && (isPacked() || static_cast<size_t>(index) <= m_objects.size());
             ++index) {
            if (isPacked()) {
                if (hasElement(index)) {
                    hold.append(static_cast<char>(integerPart(number(index))));
                }
            } else if (const Double *element = asDouble(storedObject(index))) {
                hold.append(static_cast<char>(integerPart(element->value())));
            }
        }
    }
    return { hold.constData(), static_cast<size_t>(hold.size()) };
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
    if (m_packing == Packing::Bytes && (!m_holes || room >= storedCount())) {
        m_holes.reset();
        if (m_bytes.size() - m_begin < room) {
            // No aliasing: bytes never are this array's own (the copy rule skips a copy to itself).
            m_bytes.resize(m_begin + room);
        }
        std::copy_n(bytes.begin(), room, m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin));
        setLength(static_cast<int>(room));
        return;
    }
    setLength(static_cast<int>(room));
    for (size_t offset = 0; offset < room; ++offset) {
        assignValue(place(static_cast<int>(offset) + 1),
                    ValueView::ofNumber(static_cast<quint8>(bytes[offset]), CharType));
    }
}

void Array::assignText(std::string_view bytes)
{
    if (m_packing == Packing::Bytes && !bytes.empty()) {
        assignBytes(bytes);
        setInitialised(true);
    } else {
        const Array text(bytes);
        assignFrom(ValueView::of(&text));
    }
}

void Array::appendBytes(std::string_view bytes)
{
    const auto length = static_cast<size_t>(m_length);
    if (m_maxLength > 0) {
        const auto limit = static_cast<size_t>(m_maxLength);
        bytes = bytes.substr(0, limit > length ? limit - length : 0);
    }
    if (m_packing == Packing::Bytes && !m_holes && storedCount() >= length) {
        if (m_begin > 4096 && m_begin > m_bytes.size() / 2) { // move the rest down once it is the smaller part
            m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin));
            m_begin = 0;
        }
        const size_t end = m_begin + length;
        if (end == m_bytes.size()) {
            m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        } else {
            m_bytes.resize(std::max(m_bytes.size(), end + bytes.size()));
            std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(end));
        }
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
    if (m_packing == Packing::Bytes && !m_holes) {
        m_begin += std::min(static_cast<size_t>(count), storedCount());
        if (m_begin == m_bytes.size()) {
            m_bytes.clear();
            m_begin = 0;
        }
    } else if (m_packing == Packing::Numbers && !m_holes) {
        const size_t dropped = std::min(static_cast<size_t>(count), m_numbers.size());
        m_numbers.erase(m_numbers.begin(), m_numbers.begin() + static_cast<std::ptrdiff_t>(dropped));
    } else {
        for (int index = 1; index + count <= m_length; ++index) {
            assignValue(place(index), view(index + count));
        }
    }
    setLength(m_length - count);
}

void Array::clearElements()
{
    m_bytes.clear();
    m_begin = 0;
    m_numbers.clear();
    m_holes.reset();
    m_objects.clear();
    m_sparse.reset();
    m_packing = packingOf(typeCode());
    m_length = 0;
}

void Array::swapContent(Array &other)
{
    std::swap(m_length, other.m_length);
    std::swap(m_maxLength, other.m_maxLength);
    std::swap(m_packing, other.m_packing);
    m_bytes.swap(other.m_bytes);
    std::swap(m_begin, other.m_begin);
    m_numbers.swap(other.m_numbers);
    m_holes.swap(other.m_holes);
    m_objects.swap(other.m_objects);
    m_sparse.swap(other.m_sparse);
}

void Array::setType(int code)
{
    const int before = typeCode();
    BasicType::setType(code);
    if (typeCode() == before) {
        return;
    }
    if (!isPacked()) {
        for (const auto &element : m_objects) {
            if (element) {
                element->setType(code);
            }
        }
        if (m_sparse) {
            for (const auto &[index, element] : *m_sparse) {
                element->setType(code);
            }
        }
        if (m_objects.empty() && !m_sparse) {
            m_packing = packingOf(code);
        }
        return;
    }
    const Packing packing = packingOf(code);
    if (storedCount() == 0) {
        m_packing = packing;
        return;
    }
    std::vector<double> numbers(storedCount());
    for (size_t offset = 0; offset < numbers.size(); ++offset) {
        numbers[offset] = normalised(code, number(static_cast<int>(offset) + 1));
    }
    m_packing = packing == Packing::Objects ? Packing::Numbers : packing;
    if (m_packing == Packing::Bytes) {
        m_numbers.clear();
        m_begin = 0;
        m_bytes.resize(numbers.size());
        std::transform(numbers.begin(), numbers.end(), m_bytes.begin(),
                       [](double value) { return static_cast<char>(static_cast<quint8>(value)); });
    } else {
        m_bytes.clear();
        m_begin = 0;
        m_numbers = std::move(numbers);
    }
    if (packing == Packing::Objects) {
        unpack();
    }
}

std::unique_ptr<BasicType> Array::clone() const
{
    auto copy = std::make_unique<Array>(typeCode());
    copy->copyAttributes(*this);
    copy->m_length = m_length;
    copy->setMaxLength(m_maxLength != 0 ? m_maxLength : m_length);
    copy->m_packing = m_packing;
    copy->m_bytes.assign(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin), m_bytes.end());
    copy->m_numbers = m_numbers;
    copy->m_holes = m_holes ? std::make_unique<Holes>(*m_holes) : nullptr;
    copy->m_objects.reserve(m_objects.size());
    for (const auto &element : m_objects) {
        copy->m_objects.push_back(element ? element->clone() : nullptr);
    }
    if (m_sparse) {
        copy->m_sparse = std::make_unique<SparseElements>();
        for (const auto &[index, element] : *m_sparse) {
            copy->m_sparse->emplace(index, element->clone());
        }
    }
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
    clearElements();
    BasicType::readFrom(reader);
    m_packing = packingOf(typeCode());
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
    if (m_packing == Packing::Bytes && source.m_packing == Packing::Bytes && !source.m_holes &&
        source.storedCount() >= static_cast<size_t>(source.m_length) && mayGrowDense(std::max(count, 1))) {
        const int length = m_length;
        assignBytes({ source.m_bytes.data() + source.m_begin, static_cast<size_t>(count) });
        m_length = length;
        return;
    }
    if (m_packing == Packing::Numbers && source.m_packing == Packing::Numbers && !m_holes && !source.m_holes &&
        source.m_numbers.size() >= static_cast<size_t>(source.m_length)) {
        const auto size = static_cast<size_t>(count);
        m_numbers.resize(std::max(m_numbers.size(), size));
        if (source.typeCode() == typeCode()) {
            std::copy_n(source.m_numbers.begin(), size, m_numbers.begin());
        } else {
            std::transform(source.m_numbers.begin(), source.m_numbers.begin() + static_cast<std::ptrdiff_t>(size),
                           m_numbers.begin(), [code = typeCode()](double number) { return normalised(code, number); });
        }
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

Array::Packing Array::packingOf(int typeCode)
{
    if (typeCode == CharType) {
        return Packing::Bytes;
    }
    return isNumericType(typeCode) ? Packing::Numbers : Packing::Objects;
}

size_t Array::storedCount() const
{
    switch (m_packing) {
    case Packing::Bytes:
        return m_bytes.size() - m_begin;
    case Packing::Numbers:
        return m_numbers.size();
    case Packing::Objects:
    case Packing::Sparse:
        break;
    }
    return m_objects.size();
}

bool Array::mayGrowDense(int index) const
{
    return index <= kDenseLimit || static_cast<size_t>(index) <= 2 * storedCount();
}

void Array::growPacked(int index)
{
    const auto offset = static_cast<size_t>(index) - 1;
    const size_t stored = storedCount();
    if (offset < stored) { // a hole
        m_holes->missing[offset] = false;
        if (m_packing == Packing::Bytes) {
            m_bytes[m_begin + offset] = 0;
        } else {
            m_numbers[offset] = 0;
        }
        if (--m_holes->count == 0) {
            m_holes.reset();
        }
        return;
    }
    if (m_packing == Packing::Bytes) {
        m_bytes.resize(m_begin + offset + 1);
    } else {
        m_numbers.resize(offset + 1);
    }
    if (offset > stored && !m_holes) {
        m_holes = std::make_unique<Holes>();
        m_holes->missing.resize(stored, false);
    }
    if (m_holes) {
        m_holes->missing.resize(offset, true);
        m_holes->missing.push_back(false);
        m_holes->count += static_cast<int>(offset - stored);
    }
}

void Array::unpack()
{
    std::vector<std::unique_ptr<BasicType>> objects(storedCount());
    for (size_t offset = 0; offset < objects.size(); ++offset) {
        const int index = static_cast<int>(offset) + 1;
        if (hasElement(index)) {
            objects[offset] = std::make_unique<Double>(number(index), typeCode());
            objects[offset]->setInitialised(true);
        }
    }
    m_bytes.clear();
    m_begin = 0;
    m_numbers.clear();
    m_holes.reset();
    m_objects = std::move(objects);
    m_packing = Packing::Objects;
}

void Array::makeSparse()
{
    m_sparse = std::make_unique<SparseElements>();
    for (size_t offset = 0; offset < m_objects.size(); ++offset) {
        if (m_objects[offset]) {
            m_sparse->emplace(static_cast<int>(offset) + 1, std::move(m_objects[offset]));
        }
    }
    m_objects.clear();
    m_packing = Packing::Sparse;
}

BasicType *Array::storedObject(int index) const
{
    if (m_packing == Packing::Sparse) {
        const auto found = m_sparse->find(index);
        return found != m_sparse->end() ? found->second.get() : nullptr;
    }
    const auto offset = static_cast<size_t>(index) - 1;
    return index >= 1 && offset < m_objects.size() ? m_objects[offset].get() : nullptr;
}

void Array::storeObject(int index, std::unique_ptr<BasicType> value)
{
    if (m_packing == Packing::Objects && (index < 1 || !mayGrowDense(index))) {
        makeSparse();
    }
    if (m_packing == Packing::Sparse) {
        (*m_sparse)[index] = std::move(value);
        return;
    }
    const auto offset = static_cast<size_t>(index) - 1;
    if (offset >= m_objects.size()) {
        m_objects.resize(offset + 1);
    }
    m_objects[offset] = std::move(value);
}

std::unique_ptr<BasicType> Array::makeElement() const
{
    const BasicType *first = storedObject(1);
    if (!first) {
        return makeValue(typeCode());
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

void Array::forgetNumbers()
{
    if (isPacked()) {
        m_bytes.clear();
        m_begin = 0;
        m_numbers.clear();
        m_holes.reset();
        return;
    }
    const auto isNumber = [](const std::unique_ptr<BasicType> &element) { return element && element->isNumber(); };
    if (m_sparse) {
        std::erase_if(*m_sparse, [&](const auto &element) { return isNumber(element.second); });
    }
    std::replace_if(m_objects.begin(), m_objects.end(), isNumber, nullptr);
}
