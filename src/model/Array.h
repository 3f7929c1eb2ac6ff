#pragma once
#include "model/ElementStore.h"

#include <QByteArray>

#include <string_view>

class Array;

/// Where a stored value is: an object, a packed element of an array, or a number in a frame. Empty: nothing is there.
struct Place
{
    BasicType *object = nullptr;
    Array *array = nullptr;   // set only for a packed element
    int index = 0;            // of the packed element, from 1
    double *number = nullptr; // set only for a number in a frame
    int typeCode = 0;         // of the number in a frame

    explicit operator bool() const { return object || array || number; }
};

/// What an evaluation saw, without making an object of a number and without copying a variable.
/// object is borrowed and never a Double.
struct ValueView
{
    enum class Kind : quint8 { None, Number, Object };
    Kind kind = Kind::None;
    int typeCode = DoubleType; // of the number
    double number = 0;
    const BasicType *object = nullptr;

    static ValueView ofNumber(double number, int typeCode) { return { Kind::Number, typeCode, number, nullptr }; }
    static ValueView of(const BasicType *value);
    static ValueView of(const Place &place);
    bool isNumber() const { return kind == Kind::Number; }
    bool isNone() const { return kind == Kind::None; }
    const Array *array() const;
    ValueRef toValue() const; // a new value: a Double of the number, a clone of the object; empty for none
};

/// Elements from index 1 on; a character array is a string, its length the string's length. Elements may be missing
/// inside the bounds, and may exist behind the length; both keep their rules however the elements are stored, which is
/// the matter of ElementStore.
class Array : public BasicType
{
public:
    explicit Array(int typeCode = IntegerType);
    explicit Array(std::string_view bytes); // a string: CHAR elements, both lengths the number of bytes

    static std::unique_ptr<Array> ofBytes(std::string_view bytes) { return std::make_unique<Array>(bytes); }

    int length() const { return m_length; }
    int maxLength() const { return m_maxLength; } // 0: not bounded
    int capacity() const { return m_maxLength != 0 ? m_maxLength : m_length; }
    /// 0 empties the array: its numbers go, so that it counts like one that was never filled.
    void setLength(int length);
    void setMaxLength(int maxLength); // negative: stored, with "Array size cannot be negative"

    /// Element access by the program's rules: a missing element inside the bounds is made. Empty outside the bounds.
    Place place(int index);
    /// The same where only an object will do; nullptr for packed elements and outside the bounds.
    BasicType *elementObject(int index)
    {
        BasicType *const stored = m_elements.quickObject(index);
        return stored ? stored : place(index).object;
    }
    bool hasElement(int index) const { return m_elements.has(index); } // stored now, whatever the length
    /// The stored element; inside the bounds a missing one reads as place() would make it. Makes no numbers.
    ValueView view(int index) const;
    bool firstIsArray() const; // element 1 is stored and is an array: this is a matrix
    const BasicType *object(int index) const { return m_elements.object(index); } // stored and an object, else nullptr
    BasicType *object(int index) { return m_elements.object(index); }

    /// Stores value at index and owns it; into the row when a row stands there. Does not change the length.
    void setElement(int index, std::unique_ptr<BasicType> value);

    /// Packed numbers, for prepared code.
    bool isPackedBytes() const { return m_elements.isBytes(); }
    bool isPacked() const { return m_elements.isPacked(); }
    bool packedNumber(int index, double &number) const { return m_elements.packedNumber(index, number); }
    bool setPackedNumber(int index, double number) { return m_elements.setPackedNumber(index, number); }
    double number(int index) const { return m_elements.number(index); }             // of a packed element
    void setNumber(int index, double value) { m_elements.setNumber(index, value); } // within place()'s bounds

    /// The bytes of elements 1 to length that are stored and numbers: the low 8 bits of each integer part.
    /// Borrowed from the array where it holds just these bytes, else built in hold.
    std::string_view bytes(QByteArray &hold) const { return m_elements.bytes(m_length, hold); }
    QByteArray toBytes() const;

    /// Overwrites elements from 1 with bytes and sets the length, as far as the maximum length allows.
    void assignBytes(std::string_view bytes);
    /// Adds bytes behind the length; what passes the maximum length is cut off.
    void appendBytes(std::string_view bytes);
    /// Takes the first count of the elements 1 to length away; the rest moves down. Cost: the count, not the rest.
    void dropFront(int count);
    void clearElements(); // no element is stored afterwards; the length becomes 0

    void swapContent(Array &other); // elements and lengths, not the attributes

    void setType(int code) override; // and of every element
    void setProgram(ProgramContext *program) override;
    std::unique_ptr<BasicType> clone() const override;
    void writeTo(RecordWriter &writer) const override;
    void readFrom(RecordReader &reader) override;

    /// The copy rule with an array as destination.
    void assignFrom(const ValueView &source);

private:
    std::unique_ptr<BasicType> makeElement() const; // what place() makes for a missing element of objects
    std::unique_ptr<Array> emptyRow() const;        // of the same sizes, with nothing in it
    void assignElements(const Array &source);
    void assignSizes(const Array &source);

    int m_length = 0;
    int m_maxLength = 0;
    ElementStore m_elements;
};

inline const Array *asArray(const BasicType *value)
{
    return value && value->isArray() ? static_cast<const Array *>(value) : nullptr;
}
inline Array *asArray(BasicType *value)
{
    return value && value->isArray() ? static_cast<Array *>(value) : nullptr;
}
inline const Array *ValueView::array() const
{
    return kind == Kind::Object ? asArray(object) : nullptr;
}
