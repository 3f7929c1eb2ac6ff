#pragma once
#include "base/Names.h"

#include <QString>

#include <memory>
#include <vector>

class ProgramContext;
class RecordReader;
class RecordWriter;
class StructType;

/// One member of a structure type.
struct TypeDecl
{
    QString name;
    int typeCode = 10;
    std::vector<int> dimensions; // sizes, outermost first; empty for a scalar

    void writeTo(RecordWriter &writer) const;
    void readFrom(RecordReader &reader);
};

/// A structure type: its name and the declarations of its members.
class CustomTypeInfo
{
public:
    CustomTypeInfo() = default;
    CustomTypeInfo(const QString &name, std::vector<TypeDecl> members)
        : m_name(name)
        , m_members(std::move(members))
    {}
    virtual ~CustomTypeInfo() = default;

    const QString &name() const { return m_name; }
    const std::vector<TypeDecl> &members() const { return m_members; }

    /// A new value of the type with members at 0, 0:1:0 or empty. It carries typeCode.
    /// \param depth  of structures around it; a type that contains itself ends with one without members
    virtual std::unique_ptr<StructType> instantiate(int typeCode, ProgramContext *program, int depth) const;

    void writeTo(RecordWriter &writer) const;
    void readFrom(RecordReader &reader);

private:
    QString m_name;
    std::vector<TypeDecl> m_members;
};

/// The built-in type "devchan".
class DevChanTypeInfo : public CustomTypeInfo
{
public:
    DevChanTypeInfo();
    std::unique_ptr<StructType> instantiate(int typeCode, ProgramContext *program, int depth) const override;
};

/// The built-in type "devlev".
class DevLevTypeInfo : public CustomTypeInfo
{
public:
    DevLevTypeInfo();
    std::unique_ptr<StructType> instantiate(int typeCode, ProgramContext *program, int depth) const override;
};
