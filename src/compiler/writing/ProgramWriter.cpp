#include "compiler/writing/ProgramWriter.h"

#include "compiler/Workspace.h"
#include "compiler/lexing/Words.h"
#include "compiler/parsing/HandlerParts.h"
#include "interp/ProgramFunction.h"
#include "program/AST.h"

#include <algorithm>

QString ProgramWriter::run(const QStringList &loaderMessages)
{
    for (const QString &message : loaderMessages) {
        m_lines.add(remark(QStringLiteral("while loading: %1").arg(message)));
    }
    if (!m_program.programName().isEmpty()) {
        m_lines.add(QStringLiteral("program ") + quoted(m_program.programName()));
    }
    writeTypes();
    writeGlobals();
    writeExclusives();
    writeCombinations();
    writeLevels();
    writeCallables();
    writePlainBlock(QStringLiteral("start"), m_program.startBlock.get());
    writePlainBlock(QStringLiteral("mainline"), m_program.mainlineBlock.get());
    for (const auto &handler : m_program.eventHandlers()) {
        m_lines.addBlank();
        visitNode(EventHandlerTypes(), *handler, [this](const auto &node) { write(node); });
    }
    return m_lines.text();
}

void ProgramWriter::writeTypes()
{
    int expected = DevLev::kTypeCode;
    for (const auto &[code, info] : m_program.customTypes()) {
        if (code == DevChan::kTypeCode || code == DevLev::kTypeCode) {
            continue; // the built-in ones; a file that takes their place does not come back to its bytes
        }
        m_lines.addBlank();
        if (code != ++expected || !isPlainName(info->name())) {
            m_lines.add(remark(QStringLiteral("type code %1, name \"%2\"").arg(code).arg(info->name())));
        }
        m_lines.add(QStringLiteral("struct %1 {").arg(info->name()));
        m_lines.open();
        for (const TypeDecl &member : info->members()) {
            m_lines.add(declaration(member.typeCode, member.name, member.dimensions));
        }
        m_lines.close();
        m_lines.add(QStringLiteral("}"));
    }
}

QString ProgramWriter::declaration(int typeCode, const QString &name, const std::vector<int> &sizes) const
{
    const QString type = m_statements.typeWord(typeCode);
    QString text = type.isEmpty() ? remark(QStringLiteral("type %1").arg(typeCode)) + QStringLiteral(" integer") : type;
    text += QLatin1Char(' ') + (isMemberName(name) ? name : remark(QStringLiteral("the name \"%1\"").arg(name)));
    for (const int size : sizes) {
        text += size == 0 ? QStringLiteral("[]") : QStringLiteral("[%1]").arg(size);
    }
    return text;
}

void ProgramWriter::writeGlobals()
{
    m_lines.addBlank();
    for (const BasicType *value : m_program.globalsInOrder()) {
        const bool isHidden = HiddenLists::isHiddenName(value->name().text()) && value->isConst() && value->isArray();
        if (!m_program.isSystemSymbol(value) && !isHidden) {
            writeGlobal(*value);
        }
    }
}

void ProgramWriter::writeGlobal(const BasicType &value)
{
    std::vector<int> sizes;
    for (const Array *array = asArray(&value); array; array = asArray(array->object(1))) {
        sizes.push_back(array->maxLength());
    }
    QString line;
    if (value.isConst() && !asDevice(&value)) {
        const bool isDeviceList = value.typeCode() == DeviceType && value.storageClass() == Volatile;
        line = isDeviceList ? QString() : QStringLiteral("const ");
    }
    if (value.storageClass() != Volatile || (value.typeCode() == DeviceType && !value.isConst())) {
        const QString word = wordOfCode(value.storageClass(), Word::Storage);
        line +=
            (word.isEmpty() ? remark(QStringLiteral("storage %1").arg(value.storageClass())) : word) + QLatin1Char(' ');
    }
    line += declaration(value.typeCode(), value.name().text(), sizes);
    if (value.isInitialised() || value.isConst()) {
        line += QStringLiteral(" = ") + initialText(value);
    }
    if (isReservedWord(value.name().text())) {
        line += QLatin1Char(' ') + remark(QStringLiteral("the name is a word of the language"));
    }
    if (value.placement() != LocalVar) {
        line += QLatin1Char(' ') + remark(QStringLiteral("placement %1").arg(value.placement()));
    }
    m_lines.add(line);
}

/// The address of a device must not be written as the name of that very device.
QString ProgramWriter::initialText(const BasicType &value) const
{
    const Device *device = asDevice(&value);
    return device ? device->address().text() : m_expressions.valueText(value);
}

QString ProgramWriter::referenceText(const DeviceReference &reference) const
{
    if (reference.kind == DeviceReference::Anonymous && reference.device) {
        return reference.device->address().text();
    }
    if (reference.kind == DeviceReference::Global && isPlainName(reference.name)) {
        return reference.name;
    }
    return QStringLiteral("0:1:0 ") +
           remark(QStringLiteral("device reference %1 \"%2\"").arg(reference.kind).arg(reference.name));
}

void ProgramWriter::writeExclusives()
{
    m_lines.addBlank();
    for (const auto &group : m_program.exclusives()) {
        const QString device = referenceText(group->device);
        if (const auto *range = as<RangeExclusive>(group.get())) {
            m_lines.add(QStringLiteral("exclusive [%1, %2..%3]").arg(device).arg(range->first).arg(range->last));
            continue;
        }
        QStringList codes;
        for (const int code : group->channels()) {
            codes += QString::number(code);
        }
        m_lines.add(QStringLiteral("exclusive [%1, {%2}]").arg(device, codes.join(QStringLiteral(", "))));
    }
}

void ProgramWriter::writeCombinations()
{
    m_lines.addBlank();
    for (const std::vector<DeviceAddress> &group : m_program.combinations().groups()) {
        std::vector<DeviceAddress> inFileOrder = group; // the loader puts each virtual device before those it has met
        const auto firstReal = std::find_if(inFileOrder.begin(), inFileOrder.end(), [](const DeviceAddress &address) {
            return !DeviceCombineManager::isVirtual(address.number);
        });
        std::reverse(inFileOrder.begin(), firstReal);
        QStringList devices;
        for (const DeviceAddress &address : inFileOrder) {
            devices += m_expressions.addressText(address);
        }
        m_lines.add(devices.isEmpty() ? remark(QStringLiteral("an empty combination"))
                                      : QStringLiteral("combine (%1)").arg(devices.join(QStringLiteral(", "))));
    }
}

void ProgramWriter::writeLevels()
{
    m_lines.addBlank();
    for (const LevelAssociation &association : m_program.levels()) {
        m_lines.add(QStringLiteral("level [%1, %2] %3")
                        .arg(m_expressions.addressText(association.device), QString::number(association.levelCode),
                             m_expressions.nameText(association.variable)));
    }
}

void ProgramWriter::writeCallables()
{
    for (const auto &function : m_program.functions()) {
        const auto &own = static_cast<const ProgramFunction &>(*function);
        QString result;
        if (const std::optional<ReturnType> &type = own.returnType()) {
            result = declaration(type->typeCode, QStringLiteral("x"), type->sizes);
            result.remove(result.lastIndexOf(QStringLiteral(" x")), 2);
            result += QLatin1Char(' ');
        }
        m_lines.addBlank();
        for (const QString &alias : own.aliases()) {
            m_lines.add(remark(QStringLiteral("also known as \"%1\"").arg(alias)));
        }
        writeCallable(QStringLiteral("function ") + result, own.name(), own.arguments.get(), own.body.get());
    }
    for (const auto &routine : m_program.callRoutines()) {
        const auto &own = static_cast<const ProgramRoutine &>(*routine);
        m_lines.addBlank();
        writeCallable(QStringLiteral("routine "), own.name(), own.arguments.get(), own.body.get());
    }
}

void ProgramWriter::writeCallable(const QString &words, const QString &name, const FunctionArgList *arguments,
                                  const Statement *body)
{
    QStringList parameters;
    for (size_t i = 0; arguments && i < arguments->size(); ++i) {
        parameters += parameterText((*arguments)[i]);
    }
    const QString shown = isPlainName(name) ? name : remark(QStringLiteral("the name \"%1\"").arg(name));
    const QString list = arguments ? parameters.join(QStringLiteral(", ")) : remark(QStringLiteral("no argument list"));
    m_statements.writeBlock(QStringLiteral("%1%2(%3)").arg(words, shown, list), body);
}

QString ProgramWriter::parameterText(const FunctionArg &argument) const
{
    QString sizes;
    const Expression *declarator = argument.declaration.get();
    while (const auto *array = as<ArrayExpression>(declarator)) {
        sizes = QStringLiteral("[%1]").arg(array->index ? m_expressions.text(array->index.get()) : QString()) + sizes;
        declarator = array->base.get();
    }
    const auto *variable = as<VarExpression>(declarator);
    return declaration(argument.typeCode, variable ? variable->name : QString(), {}) + sizes;
}

/// A list by itself; where it holds nothing but a block with variables, that block's content.
void ProgramWriter::writePlainBlock(const QString &word, const Statement *block)
{
    if (!block) {
        return;
    }
    m_lines.addBlank();
    const auto *list = as<StatementList>(block);
    const auto *inner =
        list && list->statements.size() == 1 ? as<CompoundStatement>(list->statements.front().get()) : nullptr;
    const bool hasVariables = inner && inner->body && !inner->body->statements.empty() &&
                              as<BlockItemDefStatement>(inner->body->statements.front().get());
    m_statements.writeList(word, hasVariables ? inner->body.get() : list);
}

void ProgramWriter::write(const ButtonEventHandler &handler)
{
    writeParts(QStringLiteral("button_event"), triggersText(handler.buttons), handler.handlers);
}

void ProgramWriter::write(const DataEventHandler &handler)
{
    QStringList triggers;
    for (const DeviceReference &device : handler.devices) {
        triggers += QStringLiteral("[%1]").arg(referenceText(device));
    }
    writeParts(QStringLiteral("data_event"), triggers, handler.handlers);
}

void ProgramWriter::write(const LevelEventHandler &handler)
{
    m_statements.writeBlock(head(QStringLiteral("level_event"), triggersText(handler.levels)), handler.body.get());
}

void ProgramWriter::write(const TimelineEventHandler &handler)
{
    QStringList triggers;
    for (const auto &id : handler.ids) {
        triggers += QStringLiteral("[%1]").arg(m_expressions.text(id.get()));
    }
    m_statements.writeBlock(head(QStringLiteral("timeline_event"), triggers), handler.body.get());
}

QStringList ProgramWriter::triggersText(const std::vector<std::unique_ptr<ButtonExpression>> &buttons) const
{
    QStringList triggers;
    for (const auto &button : buttons) {
        triggers += m_expressions.buttonText(*button);
    }
    return triggers;
}

QString ProgramWriter::head(const QString &word, const QStringList &triggers)
{
    return QStringLiteral("%1 %2").arg(word, triggers.isEmpty() ? remark(QStringLiteral("of nothing"))
                                                                : triggers.join(QStringLiteral(", ")));
}

void ProgramWriter::writeParts(const QString &word, const QStringList &triggers,
                               const std::vector<std::unique_ptr<SubEventHandler>> &parts)
{
    m_lines.add(head(word, triggers) + QStringLiteral(" {"));
    m_lines.open();
    for (const auto &part : parts) {
        if (part) {
            m_statements.writeBlock(partHead(*part), part->body.get());
        } else {
            m_lines.add(remark(QStringLiteral("a part is missing here")));
        }
    }
    m_lines.close();
    m_lines.add(QStringLiteral("}"));
}

QString ProgramWriter::partHead(const SubEventHandler &part)
{
    if (const auto *hold = as<HoldSubEventHandler>(&part)) {
        return QStringLiteral("hold [%1%2]:")
            .arg(QString::number(hold->holdTenths), hold->repeats ? QStringLiteral(", repeat") : QString());
    }
    const auto row = std::find_if(std::begin(kParts), std::end(kParts),
                                  [&part](const PartWord &known) { return known.tag == part.typeTag(); });
    return QString::fromLatin1(row->word) + QLatin1Char(':');
}
