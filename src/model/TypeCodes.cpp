#include "model/TypeCodes.h"

namespace {
struct CodeName
{
    int code;
    const char *name;
};

constexpr CodeName kTypes[] = {
    { IntegerType, "INTEGER" }, { SIntegerType, "SINTEGER" }, { LongType, "LONG" },   { SLongType, "SLONG" },
    { CharType, "CHAR" },       { DoubleType, "DOUBLE" },     { FloatType, "FLOAT" }, { DeviceType, "DEVICE" },
};
} // namespace

QString builtInTypeName(int code)
{
    for (const CodeName &row : kTypes) {
        if (row.code == code) {
            return QString::fromLatin1(row.name);
        }
    }
    return QString();
}
