#include "model/ElementStore.h"

#include "model/StructType.h"

#include <algorithm>

ElementStore::ElementStore(std::string_view bytes)
    : m_typeCode(CharType)
    , m_packing(Packing::Bytes)
    , m_bytes(bytes.begin(), bytes.end())
{}

ElementStore ElementStore::clone() const
{
    ElementStore copy(m_typeCode);
    copy.m_packing = m_packing;
    copy.m_bytes.assign(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin), m_bytes.end());
    copy.m_numbers = m_numbers;
    copy.m_holes = m_holes ? std::make_unique<Holes>(*m_holes) : nullptr;
    copy.m_objects.reserve(m_objects.size());
    for (const auto &element : m_objects) {
        copy.m_objects.push_back(element ? element->clone() : nullptr);
    }
    if (m_sparse) {
        copy.m_sparse = std::make_unique<SparseElements>();
        for (const auto &[index, element] : *m_sparse) {
            copy.m_sparse->emplace(index, element->clone());
        }
    }
    return copy;
}

ElementStore::Packing ElementStore::packingOf(int typeCode)
{
    if (typeCode == CharType) {
        return Packing::Bytes;
    }
    return isNumericType(typeCode) ? Packing::Numbers : Packing::Objects;
}

size_t ElementStore::size() const
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

bool ElementStore::has(int index) const
{
    if (!isPacked()) {
        return object(index) != nullptr;
    }
    const auto offset = static_cast<size_t>(index) - 1;
    return index >= 1 && offset < size() && (!m_holes || !m_holes->missing[offset]);
}

double ElementStore::number(int index) const
{
    const auto offset = static_cast<size_t>(index) - 1;
    if (index < 1 || offset >= size()) {
        return 0;
    }
    return m_packing == Packing::Bytes ? static_cast<quint8>(m_bytes[m_begin + offset]) : m_numbers[offset];
}

void ElementStore::setNumber(int index, double number)
{
    Q_ASSERT(isPacked() && index >= 1);
    if (!has(index)) {
        makeNumber(index);
    }
    const auto offset = static_cast<size_t>(index) - 1;
    if (m_packing == Packing::Bytes) {
        m_bytes[m_begin + offset] = static_cast<char>(integerPart(number));
    } else {
        m_numbers[offset] = normalised(m_typeCode, number);
    }
}

void ElementStore::makeNumber(int index)
{
    const auto offset = static_cast<size_t>(index) - 1;
    const size_t stored = size();
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

BasicType *ElementStore::object(int index) const
{
    if (m_packing == Packing::Sparse) {
        const auto found = m_sparse->find(index);
        return found != m_sparse->end() ? found->second.get() : nullptr;
    }
    const auto offset = static_cast<size_t>(index) - 1;
    return index >= 1 && offset < m_objects.size() ? m_objects[offset].get() : nullptr;
}

void ElementStore::setObject(int index, std::unique_ptr<BasicType> value)
{
    if (m_packing == Packing::Objects && (index < 1 || !isNear(index))) {
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

void ElementStore::unpack()
{
    std::vector<std::unique_ptr<BasicType>> objects(size());
    for (size_t offset = 0; offset < objects.size(); ++offset) {
        const int index = static_cast<int>(offset) + 1;
        if (has(index)) {
            objects[offset] = std::make_unique<Double>(number(index), m_typeCode);
            objects[offset]->setInitialised(true);
        }
    }
    clearPacked();
    m_objects = std::move(objects);
    m_packing = Packing::Objects;
}

void ElementStore::makeSparse()
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

std::string_view ElementStore::bytes(int length, QByteArray &hold) const
{
    const auto count = static_cast<int>(std::min(size(), static_cast<size_t>(length)));
    if (m_packing == Packing::Bytes && !m_holes) {
        return { m_bytes.data() + m_begin, static_cast<size_t>(count) };
    }
    hold.clear();
    const auto append = [&hold](const BasicType *element) {
        if (const Double *number = asDouble(element)) {
            hold.append(static_cast<char>(integerPart(number->value())));
        }
    };
    if (m_packing == Packing::Sparse) {
        for (auto it = m_sparse->lower_bound(1); it != m_sparse->end() && it->first <= length; ++it) {
            append(it->second.get());
        }
    }
    for (int index = 1; index <= count; ++index) {
        if (!isPacked()) {
            append(object(index));
        } else if (has(index)) {
            hold.append(static_cast<char>(integerPart(number(index))));
        }
    }
    return { hold.constData(), static_cast<size_t>(hold.size()) };
}

bool ElementStore::overwriteBytes(std::string_view bytes)
{
    if (m_packing != Packing::Bytes || (m_holes && bytes.size() < size())) {
        return false;
    }
    m_holes.reset();
    if (size() < bytes.size()) {
        // No aliasing: bytes never are this store's own (the copy rule skips a copy to itself).
        m_bytes.resize(m_begin + bytes.size());
    }
    std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin));
    return true;
}

bool ElementStore::appendBytes(int length, std::string_view bytes)
{
    if (m_packing != Packing::Bytes || m_holes || size() < static_cast<size_t>(length)) {
        return false;
    }
    if (m_begin > 4096 && m_begin > m_bytes.size() / 2) { // move the rest down once it is the smaller part
        m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_begin));
        m_begin = 0;
    }
    const size_t end = m_begin + static_cast<size_t>(length);
    if (end == m_bytes.size()) {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    } else {
        m_bytes.resize(std::max(m_bytes.size(), end + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return true;
}

bool ElementStore::dropFront(int count)
{
    if (!isPacked() || m_holes) {
        return false;
    }
    const size_t dropped = std::min(static_cast<size_t>(count), size());
    if (m_packing == Packing::Numbers) {
        m_numbers.erase(m_numbers.begin(), m_numbers.begin() + static_cast<std::ptrdiff_t>(dropped));
        return true;
    }
    m_begin += dropped;
    if (m_begin == m_bytes.size()) {
        m_bytes.clear();
        m_begin = 0;
    }
    return true;
}

bool ElementStore::overwriteNumbers(const ElementStore &source, int count)
{
    const auto size = static_cast<size_t>(count);
    if (!isNumbers() || !source.isNumbers() || m_holes || source.m_holes || source.m_numbers.size() < size) {
        return false;
    }
    m_numbers.resize(std::max(m_numbers.size(), size));
    if (source.m_typeCode == m_typeCode) {
        std::copy_n(source.m_numbers.begin(), size, m_numbers.begin());
    } else {
        std::transform(source.m_numbers.begin(), source.m_numbers.begin() + static_cast<std::ptrdiff_t>(size),
                       m_numbers.begin(), [code = m_typeCode](double number) { return normalised(code, number); });
    }
    return true;
}

void ElementStore::setType(int code)
{
    if (isPacked() && size() > 0) {
        repack(code);
        return;
    }
    forEachObject([code](BasicType &element) { element.setType(code); });
    m_typeCode = code;
    if (m_objects.empty() && !m_sparse) {
        m_packing = packingOf(code);
    }
}

/// Numbers that are stored, in the packing of another type.
void ElementStore::repack(int code)
{
    std::vector<double> numbers(size());
    for (size_t offset = 0; offset < numbers.size(); ++offset) {
        numbers[offset] = normalised(code, number(static_cast<int>(offset) + 1));
    }
    m_typeCode = code;
    m_bytes.clear();
    m_begin = 0;
    m_numbers.clear();
    if (packingOf(code) == Packing::Bytes) {
        m_packing = Packing::Bytes;
        m_bytes.resize(numbers.size());
        std::transform(numbers.begin(), numbers.end(), m_bytes.begin(),
                       [](double value) { return static_cast<char>(static_cast<quint8>(value)); });
        return;
    }
    m_packing = Packing::Numbers;
    m_numbers = std::move(numbers);
    if (packingOf(code) == Packing::Objects) {
        unpack();
    }
}

void ElementStore::clear()
{
    clearPacked();
    m_objects.clear();
    m_sparse.reset();
    m_packing = packingOf(m_typeCode);
}

void ElementStore::clearPacked()
{
    m_bytes.clear();
    m_begin = 0;
    m_numbers.clear();
    m_holes.reset();
}

void ElementStore::forgetNumbers()
{
    if (isPacked()) {
        clearPacked();
        return;
    }
    const auto isNumber = [](const std::unique_ptr<BasicType> &element) { return element && element->isNumber(); };
    if (m_sparse) {
        std::erase_if(*m_sparse, [&](const auto &element) { return isNumber(element.second); });
    }
    std::replace_if(m_objects.begin(), m_objects.end(), isNumber, nullptr);
}
