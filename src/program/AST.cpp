#include "program/AST.h"

#include "base/Messages.h"

#include <QCoreApplication>

#include <algorithm>

namespace {
struct NumberSymbol
{
    const char *name;
    int typeCode;
    double value;
};

struct TextSymbol
{
    const char *name;
    int size;
    const char *value;
};

// The symbols that every program starts with, in the order of their declaration.
constexpr TextSymbol kVersionText[] = { { "language_version", 6, "1.62" } };
constexpr NumberSymbol kFirstNumbers[] = {
    { "first_virtual_device", IntegerType, 32768 },
    { "first_local_port", IntegerType, 2 },
    { "true", CharType, 1 },
    { "false", CharType, 0 },
    { "timeline_relative", IntegerType, 1 },
    { "timeline_absolute", IntegerType, 0 },
    { "timeline_once", IntegerType, 0 },
    { "timeline_repeat", IntegerType, 1 },
    { "ip_tcp", CharType, 1 },
    { "ip_udp", CharType, 2 },
    { "ip_udp_2way", CharType, 3 },
    { "push_channel", IntegerType, 0 },
    { "release_channel", IntegerType, 0 },
};
constexpr NumberSymbol kSecondNumbers[] = {
    { "do_push_timed_infinite", IntegerType, 65535 },
    { "file_read_only", CharType, 1 },
    { "file_rw_new", CharType, 2 },
    { "file_rw_append", CharType, 3 },
    { "xml_encode_types", CharType, 1 },
    { "xml_encode_char_as_list", CharType, 16 },
    { "xml_encode_le", CharType, 32 },
    { "xml_decode_types", CharType, 1 },
    { "xml_decode_no_preserve", CharType, 16 },
    { "clkmgr_mode_network", IntegerType, 1 },
    { "clkmgr_mode_standalone", IntegerType, 2 },
    { "normal_standby", IntegerType, 1 },
    { "normal_wake", IntegerType, 3 },
    { "log_error", IntegerType, 1 },
    { "log_warning", IntegerType, 2 },
    { "log_info", IntegerType, 3 },
    { "log_debug", IntegerType, 4 },
};
constexpr TextSymbol kNullText[] = { { "null_str", 0, "" } };
constexpr NumberSymbol kThirdNumbers[] = {
    { "___reserved___", IntegerType, 0 },
    { "get_pulse_time", IntegerType, 5 },
    { "get_timer", LongType, 0 },
};
constexpr TextSymbol kClockTexts[] = { { "day", 10, "MON" }, { "date", 8, "12/25/00" }, { "time", 8, "00:00:00" } };

constexpr int kFirstCustomType = 200;
constexpr int kLastDevice = 46999;

Name nameOf(const char *text)
{
    return Name(QString::fromLatin1(text));
}
} // namespace

AST::AST()
{
    registerCustomTypes();
    createSystemSymbols();
}

void AST::setProgramName(const QString &name)
{
    if (m_programName.isEmpty()) {
        m_programName = name;
    }
}

void AST::declareGlobal(std::unique_ptr<BasicType> value)
{
    if (!value) {
        return;
    }
    value->setProgram(this);
    const Name name = value->name();
    const QString text = name.text();
    const auto slot = static_cast<size_t>(name.id());
    if (m_globalsById.size() <= slot) {
        m_globalsById.resize(slot + 1, nullptr);
    }
    BasicType *const existing = m_globalsById[slot];
    if (!existing) {
        BasicType *const added = value.get();
        m_globals.emplace(text, std::move(value));
        m_globalsById[slot] = added;
        m_globalOrder.push_back(added);
        if (const Device *device = asDevice(added)) {
            checkDevice(*device);
        }
        return;
    }
    const Double *before = asDouble(existing);
    const Double *after = asDouble(value.get());
    if (before && after && before->isConst() && after->isConst() &&
        fuzzyEqual(1 + before->value(), 1 + after->value())) {
        std::replace(m_globalOrder.begin(), m_globalOrder.end(), existing, value.get());
        std::erase(m_systemSymbols, existing); // its address may be another value's from now on
        m_globalsById[slot] = value.get();
        m_globals[text] = std::move(value);
        return;
    }
    Q_EMIT error(translated(QT_TRANSLATE_NOOP("messages", "Symbol [%1] already defined in current scope")).arg(text));
}

BasicType *AST::findGlobal(Name name) const
{
    const auto slot = static_cast<size_t>(name.id());
    return slot != 0 && slot < m_globalsById.size() ? m_globalsById[slot] : nullptr;
}

bool AST::isSystemSymbol(const BasicType *value) const
{
    return std::find(m_systemSymbols.begin(), m_systemSymbols.end(), value) != m_systemSymbols.end();
}

void AST::checkDevice(const Device &device)
{
    const DeviceAddress address = device.address();
    const char *problem = nullptr;
    if (address.number < 0) {
        problem = QT_TRANSLATE_NOOP("messages", "Device id less than 0 is not valid");
    } else if (address.number > kLastDevice) {
        problem = QT_TRANSLATE_NOOP("messages", "Device id cannot be greater than 46999");
    } else if (address.port < 1) {
        problem = QT_TRANSLATE_NOOP("messages", "Devcie port less than 1 is not valid");
    } else if (address.system < 0) {
        problem = QT_TRANSLATE_NOOP("messages", "Device system number less than 0 is not valid");
    }
    if (problem) {
        Q_EMIT error(translated(problem));
    }
}

void AST::addFunction(std::unique_ptr<Function> function)
{
    std::vector<QString> names{ function->name() };
    for (const QString &alias : function->aliases()) {
        if (std::find(names.begin(), names.end(), alias) == names.end()) {
            names.push_back(alias);
        }
    }
    for (const QString &written : names) {
        const QString name = normalisedName(written);
        const auto known = m_functionsByName.find(name);
        if (known == m_functionsByName.end()) {
            m_functionsByName.emplace(name, function.get());
            continue;
        }
        if (known->second == function.get()) {
            continue;
        }
        const char *problem = known->second->isBuiltin()
                                  ? QT_TRANSLATE_NOOP("messages", "Function %1 has already defined in library")
                                  : QT_TRANSLATE_NOOP("messages", "Function %1 is already defined");
        Q_EMIT error(translated(problem).arg(name));
    }
    m_functions.push_back(std::move(function));
}

void AST::addBuiltin(Function *builtin)
{
    m_functionsByName.emplace(normalisedName(builtin->name()), builtin);
}

Function *AST::findFunction(Name name) const
{
    const auto found = m_functionsByName.find(name.text());
    return found != m_functionsByName.end() ? found->second : nullptr;
}

void AST::addCallRoutine(std::unique_ptr<CallRoutine> routine)
{
    const QString name = normalisedName(routine->name());
    if (!m_callRoutinesByName.emplace(name, routine.get()).second) {
        Q_EMIT error(translated(QT_TRANSLATE_NOOP("messages", "Call %1 is already defined")).arg(name));
        return;
    }
    m_callRoutines.push_back(std::move(routine));
}

CallRoutine *AST::findCallRoutine(Name name) const
{
    const auto found = m_callRoutinesByName.find(name.text());
    return found != m_callRoutinesByName.end() ? found->second : nullptr;
}

int AST::registerCustomType(std::unique_ptr<CustomTypeInfo> info)
{
    const int code = kFirstCustomType + static_cast<int>(m_types.size());
    m_types[code] = std::move(info);
    return code;
}

void AST::setCustomType(int code, std::unique_ptr<CustomTypeInfo> info)
{
    m_types[code] = std::move(info);
}

const CustomTypeInfo *AST::findType(int code) const
{
    const auto found = m_types.find(code);
    return found != m_types.end() ? found->second.get() : nullptr;
}

QString AST::typeName(int code) const
{
    QString builtIn = builtInTypeName(code);
    if (!builtIn.isEmpty()) {
        return builtIn;
    }
    const CustomTypeInfo *info = findType(code);
    return info ? info->name() : QString();
}

bool AST::declaresDevice(int number) const
{
    return std::any_of(m_globalOrder.begin(), m_globalOrder.end(), [number](const BasicType *value) {
        const Device *device = asDevice(value);
        return device && device->address().number == number;
    });
}

void AST::clear()
{
    m_programName.clear();
    m_handlers.clear();
    startBlock.reset();
    mainlineBlock.reset();
    m_exclusives.clear();
    for (auto it = m_functionsByName.begin(); it != m_functionsByName.end();) {
        it = it->second->isBuiltin() ? std::next(it) : m_functionsByName.erase(it);
    }
    m_functions.clear();
    m_callRoutinesByName.clear();
    m_callRoutines.clear();
    m_combinations.clear();
    m_levels.clear();
    m_changedNames.clear();
    m_boundNames.clear();
    m_globals.clear();
    m_globalsById.clear();
    m_globalOrder.clear();
    m_systemSymbols.clear();
    m_types.clear();
    registerCustomTypes();
    createSystemSymbols();
}

void AST::registerCustomTypes()
{
    registerCustomType(std::make_unique<DevChanTypeInfo>());
    registerCustomType(std::make_unique<DevLevTypeInfo>());
}

void AST::createSystemSymbols()
{
    const auto addTexts = [this](const auto &table) {
        for (const TextSymbol &row : table) {
            std::unique_ptr<Array> text = Array::ofBytes(row.value);
            text->setMaxLength(row.size);
            declareSystem(std::move(text), row.name);
        }
    };
    const auto addNumbers = [this](const auto &table) {
        for (const NumberSymbol &row : table) {
            declareSystem(std::make_unique<Double>(row.value, row.typeCode), row.name);
        }
    };
    addTexts(kVersionText);
    addNumbers(kFirstNumbers);
    declareSystem(std::make_unique<Device>(DeviceAddress{ 36864, 1, 0 }), "dynamic_virtual_device");
    addNumbers(kSecondNumbers);
    addTexts(kNullText);
    addNumbers(kThirdNumbers);
    addTexts(kClockTexts);
    // The file modes are meant to stand here a second time in capitals, as LONG; names being normalised, the first
    // declaration, equal in value, stays the one that is found. Declared again, they take its place.
    for (const NumberSymbol &row :
         { NumberSymbol{ "FILE_READ_ONLY", LongType, 1 }, NumberSymbol{ "FILE_RW_NEW", LongType, 2 },
           NumberSymbol{ "FILE_RW_APPEND", LongType, 3 } }) {
        declareSystem(std::make_unique<Double>(row.value, row.typeCode), row.name);
    }
    declareSystem(std::make_unique<DevChan>(), "push_devchan");
    declareSystem(std::make_unique<DevChan>(), "release_devchan");
}

void AST::declareSystem(std::unique_ptr<BasicType> value, const char *name)
{
    value->setName(nameOf(name));
    value->setPlacement(StackVar);
    value->setConst(true);
    value->setInitialised(true);
    const Name declared = value->name();
    declareGlobal(std::move(value));
    if (BasicType *symbol = findGlobal(declared); !isSystemSymbol(symbol)) {
        m_systemSymbols.push_back(symbol);
    }
}
