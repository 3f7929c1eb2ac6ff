#include "compiler/Symbols.h"

#include "compiler/lexing/Spelling.h"
#include "compiler/lexing/Words.h"
#include "library/Library.h"

namespace {
struct EventMember
{
    int structure;
    const char *name;
    StaticType type;
};

// What the handlers see of their event.
constexpr EventMember kEventMembers[] = {
    { StaticType::ButtonData, "INPUT", { DevChan::kTypeCode, 0 } },
    { StaticType::ButtonData, "HOLDTIME", { LongType, 0 } },
    { StaticType::ButtonData, "SOURCEDEV", { DeviceType, 0 } },
    { StaticType::DataData, "DEVICE", { DeviceType, 0 } },
    { StaticType::DataData, "TEXT", { CharType, 1 } },
    { StaticType::DataData, "NUMBER", { LongType, 0 } },
    { StaticType::DataData, "SOURCEIP", { CharType, 1 } },
    { StaticType::DataData, "SOURCEPORT", { LongType, 0 } },
    { StaticType::LevelData, "INPUT", { DevLev::kTypeCode, 0 } },
    { StaticType::LevelData, "SOURCEDEV", { DeviceType, 0 } },
    { StaticType::LevelData, "VALUE", { DoubleType, 0 } },
    { StaticType::TimelineData, "ID", { IntegerType, 0 } },
    { StaticType::TimelineData, "SEQUENCE", { IntegerType, 0 } },
    { StaticType::TimelineData, "TIME", { LongType, 0 } },
    { StaticType::TimelineData, "RELATIVE", { IntegerType, 0 } },
    { StaticType::TimelineData, "REPETITION", { LongType, 0 } },
    { DeviceType, "NUMBER", { IntegerType, 0 } },
    { DeviceType, "PORT", { IntegerType, 0 } },
    { DeviceType, "SYSTEM", { IntegerType, 0 } },
};

QString eventTypeText(int code)
{
    switch (code) {
    case StaticType::ButtonData:
        return QStringLiteral("the data of a button event");
    case StaticType::DataData:
        return QStringLiteral("the data of a data event");
    case StaticType::LevelData:
        return QStringLiteral("the data of a level event");
    case StaticType::TimelineData:
        return QStringLiteral("the data of a timeline event");
    default:
        return QStringLiteral("unknown type");
    }
}

template <class Map>
QStringList namesIn(const Map &map)
{
    QStringList names;
    for (const auto &[key, symbol] : map) {
        names += symbol.name;
    }
    return names;
}
} // namespace

StaticType typeOf(const BasicType &value)
{
    StaticType type{ value.typeCode(), 0 };
    for (const Array *array = asArray(&value); array; array = asArray(array->object(1))) {
        ++type.dimensions;
    }
    return type;
}

bool isSystemVariable(const QString &name)
{
    static const QStringList kNames{ QStringLiteral("get_timer"),    QStringLiteral("get_pulse_time"),
                                     QStringLiteral("push_channel"), QStringLiteral("release_channel"),
                                     QStringLiteral("push_devchan"), QStringLiteral("release_devchan"),
                                     QStringLiteral("date"),         QStringLiteral("time"),
                                     QStringLiteral("day") };
    return kNames.contains(name, Qt::CaseInsensitive);
}

bool canAssign(const StaticType &target, const StaticType &source)
{
    if (!target.isKnown() || !source.isKnown()) {
        return true;
    }
    if (target.isArray()) {
        return !source.isStruct();
    }
    if (target.isNumber()) {
        return source.isArray() ? isNumericType(source.code) : source.isNumber();
    }
    if (target.isDevice()) {
        return source.isDevice() || source.isNumber() || (source.isArray() && isNumericType(source.code));
    }
    return source.isArray() || source.code == target.code; // a structure takes another of its type, or a list
}

QString didYouMean(const QString &close)
{
    return close.isEmpty() ? QString() : QStringLiteral("; did you mean '%1'?").arg(close);
}

Symbols::Symbols(AST &program)
    : m_program(program)
{
    for (const BasicType *value : program.globalsInOrder()) {
        GlobalSymbol symbol{ value->name().text().toLower(), kNowhere, typeOf(*value), true, true, true, true, value };
        m_globals.emplace(value->name().text(), symbol);
    }
}

GlobalSymbol *Symbols::findGlobal(const QString &name)
{
    const auto found = m_globals.find(normalisedName(name));
    return found != m_globals.end() ? &found->second : nullptr;
}

GlobalSymbol &Symbols::addGlobal(const GlobalSymbol &symbol)
{
    return m_globals[normalisedName(symbol.name)] = symbol;
}

const CallableSymbol *Symbols::findFunction(const QString &name) const
{
    const auto found = m_functions.find(normalisedName(name));
    return found != m_functions.end() ? &found->second : nullptr;
}

const CallableSymbol *Symbols::findRoutine(const QString &name) const
{
    const auto found = m_routines.find(normalisedName(name));
    return found != m_routines.end() ? &found->second : nullptr;
}

bool Symbols::addFunction(const CallableSymbol &symbol)
{
    return m_functions.emplace(normalisedName(symbol.name), symbol).second;
}

bool Symbols::addRoutine(const CallableSymbol &symbol)
{
    return m_routines.emplace(normalisedName(symbol.name), symbol).second;
}

int Symbols::typeCodeOf(const QString &name) const
{
    const int code = codeOfWord(name, Word::Type);
    if (code >= 0) {
        return code;
    }
    const auto found = m_typeCodes.find(normalisedName(name));
    return found != m_typeCodes.end() ? found->second : -1;
}

QString Symbols::typeText(const StaticType &type) const
{
    QString text = wordOfCode(type.code, Word::Type);
    if (text.isEmpty()) {
        text = m_program.typeName(type.code);
    }
    if (text.isEmpty()) {
        text = eventTypeText(type.code);
    }
    for (int i = 0; i < type.dimensions; ++i) {
        text += QStringLiteral("[]");
    }
    return text;
}

std::vector<Parameter> Symbols::membersOf(int code) const
{
    std::vector<Parameter> members;
    for (const EventMember &member : kEventMembers) {
        if (member.structure == code) {
            members.push_back({ QString::fromLatin1(member.name), member.type });
        }
    }
    if (const CustomTypeInfo *info = m_program.findType(code)) {
        for (const TypeDecl &member : info->members()) {
            members.push_back({ member.name, { member.typeCode, static_cast<int>(member.dimensions.size()) } });
        }
    }
    return members;
}

std::optional<StaticType> Symbols::memberType(int code, const QString &name) const
{
    for (const Parameter &member : membersOf(code)) {
        if (member.name.compare(name, Qt::CaseInsensitive) == 0) {
            return member.type;
        }
    }
    return m_faultyTypes.count(code) != 0 ? std::optional<StaticType>(StaticType{}) : std::nullopt;
}

/// Of a program with very many names only the first faulty ones get a suggestion, so that the message does not take
/// longer than the mistake is worth.
QString Symbols::closest(const QString &name, const QStringList &candidates) const
{
    m_candidatesLeft -= candidates.size();
    return closestName(name, candidates);
}

QString Symbols::closestGlobal(const QString &name, const QStringList &locals) const
{
    return m_candidatesLeft < 0 ? QString() : closest(name, locals + namesIn(m_globals));
}

QString Symbols::closestFunction(const QString &name) const
{
    if (m_candidatesLeft < 0) {
        return {};
    }
    QStringList names = namesIn(m_functions);
    for (const Builtin &builtin : Library::table()) {
        names += QString::fromLatin1(builtin.name).toLower();
    }
    return closest(name, names);
}

QString Symbols::closestRoutine(const QString &name) const
{
    return m_candidatesLeft < 0 ? QString() : closest(name, namesIn(m_routines));
}

QString Symbols::closestType(const QString &name) const
{
    QStringList names;
    for (const auto &[code, info] : m_program.customTypes()) {
        names += info->name();
    }
    for (int code = IntegerType; code <= DeviceType; ++code) {
        names += wordOfCode(code, Word::Type);
    }
    for (const auto &[typeName, code] : m_typeCodes) {
        names += typeName;
    }
    return closest(name, names);
}

QString Symbols::closestMember(int code, const QString &name) const
{
    QStringList names;
    for (const Parameter &member : membersOf(code)) {
        names += member.name.toLower();
    }
    return closest(name, names);
}
