#include "model/TypeCodes.h"

namespace {
struct CodeName
{
    int code;
    const char *name;
};

constexpr CodeName kStorageClasses[] = { { Volatile, "VOLATILE" },
                                         { NonVolatile, "NON_VOLATILE" },
                                         { Persistent, "PERSISTENT" } };
constexpr CodeName kPlacements[] = { { StackVar, "STACK_VAR" }, { LocalVar, "LOCAL_VAR" } };
constexpr CodeName kTypes[] = {
    { IntegerType, "INTEGER" }, { SIntegerType, "SINTEGER" }, { LongType, "LONG" },   { SLongType, "SLONG" },
    { CharType, "CHAR" },       { DoubleType, "DOUBLE" },     { FloatType, "FLOAT" }, { DeviceType, "DEVICE" },
};

template <size_t N>
QString nameIn(const CodeName (&table)[N], int code)
{
    for (const CodeName &row : table) {
        if (row.code == code) {
            return QString::fromLatin1(row.name);
        }
    }
    return QString();
}
} // namespace

QString storageClassName(int code)
{
    return nameIn(kStorageClasses, code);
}

QString placementName(int code)
{
    return nameIn(kPlacements, code);
}

QString builtInTypeName(int code)
{
    return nameIn(kTypes, code);
}
