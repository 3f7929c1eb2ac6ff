#pragma once
#include "base/Names.h"
#include "model/TypeCodes.h"

#include <memory>

class ProgramContext;
class RecordReader;
class RecordWriter;

/// What a value is, in place of run-time type information.
enum class ValueClass : quint8 { Double, Array, Struct, Device, DevChan, DevLev };

/// Any datum of a program: a variable, constant, element, member, argument or result.
/// Owned by what holds it, in a unique_ptr; temporaries travel in a ValueRef.
/// A value knows the program that it belongs to, so that several programs can run beside one another; what holds it
/// tells it. One that was just computed may belong to none: it reports nothing and has no structures.
class BasicType
{
public:
    virtual ~BasicType() = default;
    BasicType(const BasicType &) = delete;
    BasicType &operator=(const BasicType &) = delete;

    ValueClass valueClass() const { return m_class; }
    bool isNumber() const { return m_class == ValueClass::Double; }
    bool isArray() const { return m_class == ValueClass::Array; }
    bool isStruct() const { return m_class >= ValueClass::Struct; } // devices among them

    int typeCode() const { return m_typeCode; }
    Name name() const { return m_name; }
    bool isConst() const { return m_const; }
    bool isInitialised() const { return m_initialised; }
    int storageClass() const { return m_storageClass; }
    int placement() const { return m_placement; }
    ProgramContext *program() const { return m_program; } // nullptr: none

    /// A built-in code, or that of a structure type of the program; otherwise "Wrong data type" and no change.
    virtual void setType(int code);
    virtual void setConst(bool isConst) { m_const = isConst; }
    virtual void setStorageClass(int code) { m_storageClass = static_cast<qint16>(code); }
    void setPlacement(int code) { m_placement = static_cast<qint16>(code); }
    void setInitialised(bool isInitialised) { m_initialised = isInitialised; }
    void setName(Name name) { m_name = name; }
    virtual void setProgram(ProgramContext *program) { m_program = program; } // and of what it holds
    void copyAttributes(const BasicType &other);

    /// A new, independent value of the same class with equal attributes and content.
    virtual std::unique_ptr<BasicType> clone() const = 0;

    virtual void writeTo(RecordWriter &writer) const; // the header; each class adds its content
    virtual void readFrom(RecordReader &reader);

protected:
    BasicType(ValueClass valueClass, int typeCode)
        : m_typeCode(typeCode)
        , m_class(valueClass)
    {}
    void setTypeUnchecked(int code) { m_typeCode = code; }

private:
    int m_typeCode;
    Name m_name;
    qint16 m_storageClass = Volatile;
    qint16 m_placement = LocalVar;
    ValueClass m_class;
    bool m_const = false;
    bool m_initialised = false;
    ProgramContext *m_program = nullptr;
};

/// The shared handle in which an evaluation returns a fresh value; empty when it yields none.
using ValueRef = std::shared_ptr<BasicType>;

/// One number. Every numeric type is a Double whose type code says which numbers it can hold.
/// The number is brought into the type's range when it is stored, so that reading costs nothing.
class Double : public BasicType
{
public:
    explicit Double(double number = 0, int typeCode = DoubleType)
        : BasicType(ValueClass::Double, typeCode)
        , m_number(normalised(typeCode, number))
    {}

    double value() const { return m_number; }
    void setValue(double number); // tells bound levels, when the value has a name

    /// Where the number lives: prepared code reads and writes it directly. Written numbers must be normalised.
    double *storage() { return &m_number; }

    void setType(int code) override;
    std::unique_ptr<BasicType> clone() const override;
    void writeTo(RecordWriter &writer) const override;
    void readFrom(RecordReader &reader) override;

private:
    double m_number;
};

/// Checked casts; nullptr when the value is missing or of another class.
inline Double *asDouble(BasicType *value)
{
    return value && value->isNumber() ? static_cast<Double *>(value) : nullptr;
}
inline const Double *asDouble(const BasicType *value)
{
    return value && value->isNumber() ? static_cast<const Double *>(value) : nullptr;
}
