#include "compiler/Constants.h"
#include "interp/code/FunctionCode.h"
#include "program/AST.h"

#include <algorithm>

void Initialiser::initialise(BasicType &target, const Constant &initial)
{
    switch (target.valueClass()) {
    case ValueClass::Double:
        initialiseNumber(static_cast<Double &>(target), initial);
        break;
    case ValueClass::Array:
        initialiseArray(static_cast<Array &>(target), initial);
        break;
    case ValueClass::Device:
        if (initial.isDevice()) {
            static_cast<Device &>(target).setAddress(initial.device);
        } else {
            m_sources.report(Fault::InitialValue, initial.position,
                             QStringLiteral("a device address expected, such as 10001:1:0"));
        }
        break;
    case ValueClass::Struct:
    case ValueClass::DevChan:
    case ValueClass::DevLev:
        initialiseStruct(static_cast<StructType &>(target), initial);
        break;
    }
    target.setInitialised(true);
}

void Initialiser::initialiseNumber(Double &target, const Constant &initial)
{
    const std::optional<double> number = initial.isList() ? std::nullopt : initial.asNumber();
    if (!number || initial.bytes.size() > 1) {
        m_sources.report(Fault::InitialValue, initial.position, QStringLiteral("a number expected"));
        return;
    }
    target.setValue(*number);
    const bool isRounded = target.typeCode() == FloatType || target.typeCode() == DoubleType;
    if (!isRounded && target.value() != *number) {
        m_sources.report(Fault::ValueRange, initial.position,
                         QStringLiteral("%1 does not fit into %2; it becomes %3")
                             .arg(QString::number(*number, 'g', 15),
                                  m_program.typeName(target.typeCode()).isEmpty()
                                      ? QStringLiteral("widechar")
                                      : m_program.typeName(target.typeCode()).toLower(),
                                  QString::number(target.value(), 'g', 15)));
    }
}

void Initialiser::initialiseArray(Array &target, const Constant &initial)
{
    const bool holdsNumbers = isNumericType(target.typeCode()) && !target.firstIsArray();
    if (!initial.isList() && !(initial.isText() && holdsNumbers)) {
        m_sources.report(Fault::InitialValue, initial.position,
                         holdsNumbers && target.typeCode() == CharType ? QStringLiteral("a text or a list {…} expected")
                                                                       : QStringLiteral("a list {…} expected"));
        return;
    }
    const int count = elementCount(initial, holdsNumbers);
    if (target.maxLength() != 0 && count > target.maxLength()) {
        m_sources.report(
            Fault::InitialValue, initial.position,
            initial.isText()
                ? QStringLiteral("the text has %1 bytes, the array holds %2").arg(count).arg(target.maxLength())
                : QStringLiteral("the list has %1 items, the array holds %2").arg(count).arg(target.maxLength()));
        return;
    }
    const bool isDone = holdsNumbers ? fillNumbers(target, initial) : fillObjects(target, initial.items);
    if (isDone) {
        target.setLength(count);
    }
}

int Initialiser::elementCount(const Constant &initial, bool holdsNumbers)
{
    if (initial.isText()) {
        return initial.bytes.size();
    }
    int count = 0;
    for (const Constant &item : initial.items) {
        count += holdsNumbers && item.isText() ? item.bytes.size() : 1;
    }
    return count;
}

/// One element after the other: of a long table only the numbers take room.
bool Initialiser::fillNumbers(Array &target, const Constant &initial)
{
    int index = 0;
    const auto add = [&](const Constant &item) {
        std::unique_ptr<BasicType> element = makeElement(target);
        if (!element) {
            return false;
        }
        initialise(*element, item);
        target.setElement(++index, std::move(element));
        return true;
    };
    const auto addBytes = [&](const Constant &text) {
        return std::all_of(text.bytes.begin(), text.bytes.end(), [&](char byte) {
            return add(Constant::ofNumber(static_cast<quint8>(byte), text.position));
        });
    };
    return initial.isText() ? addBytes(initial)
                            : std::all_of(initial.items.begin(), initial.items.end(), [&](const Constant &item) {
                                  return item.isText() ? addBytes(item) : add(item);
                              });
}

bool Initialiser::fillObjects(Array &target, const std::vector<Constant> &items)
{
    std::vector<std::unique_ptr<BasicType>> elements; // all made while element 1 is still the template of a row
    for (const Constant &item : items) {
        std::unique_ptr<BasicType> element = makeElement(target);
        if (!element) {
            return false;
        }
        initialise(*element, item);
        elements.push_back(std::move(element));
    }
    int index = 0;
    for (auto &element : elements) {
        target.setElement(++index, std::move(element));
    }
    return true;
}

std::unique_ptr<BasicType> Initialiser::makeElement(const Array &target) const
{
    const Array *row = asArray(target.object(1));
    if (!row) {
        return makeValue(target.typeCode(), target.program());
    }
    std::vector<int> sizes;
    for (; row; row = asArray(row->object(1))) {
        sizes.push_back(row->maxLength());
    }
    return makeArray(Name(), target.typeCode(), sizes, target.program());
}

void Initialiser::initialiseStruct(StructType &target, const Constant &initial)
{
    const CustomTypeInfo *info = m_program.findType(target.typeCode());
    if (!initial.isList() || !info) {
        m_sources.report(Fault::InitialValue, initial.position,
                         QStringLiteral("a list {…} with the members' values expected"));
        return;
    }
    if (info->members().empty()) { // its declaration is faulty; that is reported
        return;
    }
    if (initial.items.size() > info->members().size()) {
        m_sources.report(Fault::InitialValue, initial.position,
                         QStringLiteral("the list has %1 items, the structure %2 members")
                             .arg(initial.items.size())
                             .arg(info->members().size()));
        return;
    }
    size_t index = 0;
    for (const Constant &item : initial.items) {
        if (BasicType *member = target.member(Name(info->members()[index++].name))) {
            initialise(*member, item);
        }
    }
}

void keepTemplates(BasicType &value)
{
    if (Array *array = asArray(&value)) {
        if (array->firstIsArray() && array->length() == 0) {
            array->setLength(1);
        }
        for (int index = 1; index <= array->length(); ++index) {
            if (BasicType *element = array->object(index)) {
                keepTemplates(*element);
            }
        }
    } else if (const StructType *structure = asStruct(&value)) {
        for (const StructType::Member &member : structure->members()) {
            keepTemplates(*member.value);
        }
    }
}
