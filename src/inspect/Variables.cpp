#include "inspect/Variables.h"

#include "base/Messages.h"
#include "model/Values.h"
#include "runtime/ControlProgram.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>
#include <optional>

namespace {
constexpr int kMostElements = 256; // of a list that is shown

QJsonValue valueOf(const ValueView &view)
{
    if (view.isNumber()) {
        return view.number;
    }
    if (const Device *device = asDevice(view.object)) {
        return device->address().text();
    }
    if (const Array *array = view.array()) {
        if (array->typeCode() == CharType && !array->firstIsArray()) {
            return QString::fromLatin1(array->toBytes());
        }
        QJsonArray list;
        int end = std::min(array->capacity(), kMostElements);
        while (end > array->length() && !array->hasElement(end)) { // what is there, though it does not count
            --end;
        }
        for (int index = 1; index <= end; ++index) {
            list.append(array->hasElement(index) ? valueOf(array->view(index)) : QJsonValue(0));
        }
        return list;
    }
    QJsonObject object;
    if (view.object && view.object->isStruct()) {
        for (const StructType::Member &member : static_cast<const StructType *>(view.object)->members()) {
            object.insert(member.name.text().toLower(), valueOf(ValueView::of(member.value.get())));
        }
    }
    return object;
}

BasicType *memberOf(const StructType *structure, const QString &name) // nullptr: none
{
    if (structure) {
        for (const StructType::Member &member : structure->members()) {
            if (member.name.text() == normalisedName(name)) {
                return member.value.get();
            }
        }
    }
    return nullptr;
}

/// A number as the source writes it; nothing when it is none.
std::optional<double> numberFrom(const QString &text)
{
    bool converts = false;
    if (text.startsWith(QLatin1Char('$')) || text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
        const qulonglong number = text.mid(text.startsWith(QLatin1Char('$')) ? 1 : 2).toULongLong(&converts, 16);
        return converts ? std::optional(static_cast<double>(number)) : std::nullopt;
    }
    const double number = text.toDouble(&converts);
    return converts && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

/// What stands between quotes; nothing without them.
std::optional<QByteArray> textFrom(const QString &text)
{
    const bool isQuoted = text.size() >= 2 && text.at(0) == text.back() &&
                          (text.at(0) == QLatin1Char('\'') || text.at(0) == QLatin1Char('"'));
    return isQuoted ? std::optional(text.mid(1, text.size() - 2).toUtf8()) : std::nullopt;
}

QString sayWrong(const char *text, const QString &argument)
{
    return translated(text).replace(QLatin1String("%1"), argument);
}
} // namespace

Variables::Variables(ControlProgram &program)
    : m_program(program)
    , m_names(program)
{}

Variables::Answer Variables::find(const QString &path) const
{
    static const QRegularExpression nameForm(QStringLiteral("^\\s*([A-Za-z_][A-Za-z_0-9]*)"));
    static const QRegularExpression partForm(
        QStringLiteral("\\G\\s*(?:\\[\\s*(\\d{1,9})\\s*\\]|\\.\\s*([A-Za-z_][A-Za-z_0-9]*))"));
    const QRegularExpressionMatch name = nameForm.match(path);
    Found found;
    const auto &globals = m_program.tree().globals(); // no Name is made of what somebody types
    const auto global = globals.find(normalisedName(name.captured(1)));
    found.root = name.hasMatch() && global != globals.end() ? global->second.get() : nullptr;
    if (!found.root) {
        return sayWrong(QT_TRANSLATE_NOOP("messages", "The program has no variable \"%1\""), path.trimmed());
    }
    found.place.object = found.root;
    found.path = m_names.nameOf(found.root->name());
    int at = name.capturedEnd();
    while (at < path.trimmed().size()) {
        const QRegularExpressionMatch part = partForm.match(path, at);
        if (!part.hasMatch()) {
            return sayWrong(QT_TRANSLATE_NOOP("messages", "Not a variable, element or member: \"%1\""), path);
        }
        at = part.capturedEnd();
        if (!part.captured(1).isEmpty()) {
            Array *array = asArray(found.place.object);
            const int index = part.captured(1).toInt();
            if (!array || index < 1 || index > array->capacity()) {
                return sayWrong(QT_TRANSLATE_NOOP("messages", "There is no element %1"),
                                found.path + QStringLiteral("[%1]").arg(index));
            }
            found.place = array->place(index);
            found.path += QStringLiteral("[%1]").arg(index);
        } else {
            const auto *structure = found.place.object && found.place.object->isStruct()
                                        ? static_cast<StructType *>(found.place.object)
                                        : nullptr;
            BasicType *const member = memberOf(structure, part.captured(2));
            found.path += QLatin1Char('.') + part.captured(2).toLower();
            if (!member) {
                return sayWrong(QT_TRANSLATE_NOOP("messages", "There is no member %1"), found.path);
            }
            found.place = {};
            found.place.object = member;
        }
        if (!found.place) {
            return sayWrong(QT_TRANSLATE_NOOP("messages", "There is no element %1"), found.path);
        }
    }
    return found;
}

QJsonObject Variables::object(const Found &found) const
{
    QJsonObject object{ { QStringLiteral("name"), found.path },
                        { QStringLiteral("type"),
                          found.place.array ? m_program.tree().typeName(found.place.array->typeCode()).toLower()
                                            : typeText(*found.place.object) },
                        { QStringLiteral("value"), valueOf(ValueView::of(found.place)) } };
    if (found.root->isConst()) {
        object.insert(QStringLiteral("isConstant"), true);
    }
    return object;
}

QJsonObject Variables::list(const QString &filter, int after, int mostBytes) const
{
    QJsonArray variables;
    int bytes = 0;
    int index = 0;
    const AST &tree = m_program.tree();
    for (BasicType *global : tree.globalsInOrder()) {
        const bool isOwn = !tree.isSystemSymbol(global) && !global->name().text().startsWith(QLatin1Char('{'));
        if (!isOwn || index++ < after) {
            continue;
        }
        if (bytes >= mostBytes) {
            --index;
            break;
        }
        unfold(*global, m_names.nameOf(global->name()), [&](const Found &part) {
            if (part.path.contains(filter, Qt::CaseInsensitive) && bytes < mostBytes) {
                Found whole = part;
                whole.root = global;
                const QJsonObject shown = object(whole);
                bytes += QJsonDocument(shown).toJson(QJsonDocument::Compact).size();
                variables.append(shown);
            }
        });
    }
    const bool isAll = bytes < mostBytes;
    return { { QStringLiteral("variables"), variables },
             { QStringLiteral("next"), index },
             { QStringLiteral("isAll"), isAll } };
}

QString Variables::set(const Found &found, const QString &value)
{
    const QString text = value.trimmed();
    ProgramState &state = m_program.state();
    if (found.root->isConst()) {
        return sayWrong(QT_TRANSLATE_NOOP("messages", "%1 is a constant"), found.path);
    }
    if (state.isKeptCurrent(*found.root) || m_program.tree().isSystemSymbol(found.root)) {
        return sayWrong(QT_TRANSLATE_NOOP("messages", "%1 belongs to the system"), found.path);
    }
    const std::optional<QByteArray> bytes = textFrom(text);
    const std::optional<double> number = numberFrom(text);
    const Array *array = asArray(found.place.object);
    const bool isText = array && array->typeCode() == CharType && !array->firstIsArray();
    const bool isNumber = found.place.array || asDouble(found.place.object);
    if (isText && bytes) {
        const auto source = Array::ofBytes({ bytes->constData(), static_cast<size_t>(bytes->size()) });
        assignValue(found.place, ValueView::of(source.get()));
    } else if (isNumber && number) {
        assignValue(found.place, ValueView::ofNumber(*number, DoubleType));
    } else {
        const char *const wanted = isText     ? QT_TRANSLATE_NOOP("messages", "%1 takes a text: 'text'")
                                   : isNumber ? QT_TRANSLATE_NOOP("messages", "%1 takes a number: 40, -1.5 or $1F")
                                              : QT_TRANSLATE_NOOP("messages", "%1 has parts: set one of them");
        return sayWrong(wanted, found.path);
    }
    state.storage().saveVariable(*found.root);
    state.storage().flush();
    return {};
}

void Variables::unfold(BasicType &value, const QString &path, const std::function<void(const Found &)> &take) const
{
    constexpr int kMostUnfolded = 64;
    Array *array = asArray(&value);
    if (value.isStruct() && !asDevice(&value)) {
        for (const StructType::Member &member : static_cast<StructType &>(value).members()) {
            unfold(*member.value, path + QLatin1Char('.') + member.name.text().toLower(), take);
        }
        return;
    }
    if (array && !isBuiltInType(array->typeCode()) && !array->firstIsArray()) {
        for (int index = 1; index <= std::min(array->capacity(), kMostUnfolded); ++index) {
            if (BasicType *element = array->elementObject(index)) {
                unfold(*element, path + QStringLiteral("[%1]").arg(index), take);
            }
        }
        return;
    }
    Found found;
    found.place.object = &value;
    found.path = path;
    take(found);
}

QString Variables::typeText(const BasicType &value) const
{
    const QString type = m_program.tree().typeName(value.typeCode()).toLower();
    const Array *array = asArray(&value);
    return array              ? type + QStringLiteral("[%1]").arg(array->capacity())
           : asDevice(&value) ? QStringLiteral("device")
                              : type;
}
