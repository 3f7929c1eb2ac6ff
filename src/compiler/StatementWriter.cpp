#include "compiler/StatementWriter.h"

#include "compiler/Words.h"
#include "program/AST.h"

void SourceLines::addBlank()
{
    if (!m_lines.isEmpty() && !m_lines.last().isEmpty()) {
        m_lines += QString();
    }
}

namespace {
/// Whether an ELSE behind the statement would be taken for one inside it.
bool endsInOpenIf(const Statement *statement)
{
    if (const auto *branch = dynamic_cast<const IfStatement *>(statement)) {
        return !branch->elseBranch || endsInOpenIf(branch->elseBranch.get());
    }
    if (const auto *loop = dynamic_cast<const WhileStatement *>(statement)) {
        return endsInOpenIf(loop->body.get());
    }
    if (const auto *loop = dynamic_cast<const ForStatement *>(statement)) {
        return endsInOpenIf(loop->body.get());
    }
    if (const auto *wait = dynamic_cast<const WaitStatement *>(statement)) {
        return endsInOpenIf(wait->body.get());
    }
    return false;
}
} // namespace

QString StatementWriter::typeWord(int code) const
{
    if (QString word = wordOfTypeCode(code); !word.isEmpty()) {
        return word;
    }
    const CustomTypeInfo *info = m_program.findType(code);
    return info && isPlainName(info->name()) ? info->name() : QString();
}

void StatementWriter::writeBlock(const QString &head, const Statement *body)
{
    const auto *block = dynamic_cast<const CompoundStatement *>(body);
    const auto *list = block ? block->body.get() : dynamic_cast<const StatementList *>(body);
    if (!block) {
        m_lines.add(remark(body ? QStringLiteral("the body is no block") : QStringLiteral("the body is missing")));
    }
    if (list || !body) {
        writeList(head, list);
        return;
    }
    m_lines.add(head + QStringLiteral(" {"));
    m_lines.open();
    write(body);
    m_lines.close();
    m_lines.add(QStringLiteral("}"));
}

void StatementWriter::writeList(const QString &head, const StatementList *list)
{
    m_lines.add(head.isEmpty() ? QStringLiteral("{") : head + QStringLiteral(" {"));
    m_lines.open();
    if (list) {
        writeStatements(*list);
    }
    m_lines.close();
    m_lines.add(QStringLiteral("}"));
}

void StatementWriter::writeStatements(const StatementList &list)
{
    for (const auto &statement : list.statements) {
        write(statement.get());
    }
}

/// The body of an IF, a loop and so on: in braces on the lines of its head, or a line of its own.
void StatementWriter::writeNested(const QString &head, const Statement *body)
{
    if (const auto *block = dynamic_cast<const CompoundStatement *>(body)) {
        writeList(head, block->body.get());
        return;
    }
    if (!body || dynamic_cast<const StatementList *>(body) || dynamic_cast<const BlockItemDefStatement *>(body)) {
        writeBlock(head, body);
        return;
    }
    m_lines.add(head);
    m_lines.open();
    write(body);
    m_lines.close();
}

void StatementWriter::write(const Statement *statement)
{
    if (!statement) {
        m_lines.add(remark(QStringLiteral("a statement is missing here")));
        return;
    }
    const QString simple = simpleText(statement);
    if (!simple.isEmpty()) {
        m_lines.add(simple);
    } else if (!writeControl(statement) && !writeWaits(statement) && !writeDeviceStatement(statement)) {
        m_lines.add(remark(QStringLiteral("statement tag %1").arg(statement->typeTag())));
    }
}

QString StatementWriter::simpleText(const Statement *statement) const
{
    if (const auto *assignment = dynamic_cast<const AssignStatement *>(statement)) {
        return QStringLiteral("%1 = %2").arg(m_expressions.text(assignment->target.get()),
                                             m_expressions.text(assignment->value.get()));
    }
    if (const auto *step = dynamic_cast<const StepStatement *>(statement)) {
        const QString sign = dynamic_cast<const IncStatement *>(step) ? QStringLiteral("++") : QStringLiteral("--");
        return m_expressions.text(step->operand.get()) + sign;
    }
    if (const auto *call = dynamic_cast<const FuncCallStatement *>(statement)) {
        return call->call ? m_expressions.text(call->call.get()) : remark(QStringLiteral("a call without a function"));
    }
    return {};
}

bool StatementWriter::writeControl(const Statement *statement)
{
    if (const auto *definition = dynamic_cast<const BlockItemDefStatement *>(statement)) {
        writeDefinition(*definition);
    } else if (const auto *block = dynamic_cast<const CompoundStatement *>(statement)) {
        writeList({}, block->body.get());
    } else if (const auto *list = dynamic_cast<const StatementList *>(statement)) {
        m_lines.add(remark(QStringLiteral("a list without a block")));
        writeList({}, list);
    } else if (const auto *branch = dynamic_cast<const IfStatement *>(statement)) {
        writeIf(*branch);
    } else if (const auto *loop = dynamic_cast<const WhileStatement *>(statement)) {
        writeNested(QStringLiteral("while (%1)").arg(m_expressions.text(loop->condition.get())), loop->body.get());
    } else if (const auto *steps = dynamic_cast<const ForStatement *>(statement)) {
        writeFor(*steps);
    } else if (const auto *cases = dynamic_cast<const SwitchStatement *>(statement)) {
        writeSwitch(*cases);
    } else if (const auto *branches = dynamic_cast<const SelectStatement *>(statement)) {
        writeSelect(*branches);
    } else if (const auto *result = dynamic_cast<const ReturnStatement *>(statement)) {
        m_lines.add(result->value ? QStringLiteral("return ") + m_expressions.text(result->value.get())
                                  : QStringLiteral("return"));
    } else if (dynamic_cast<const BreakStatement *>(statement)) {
        m_lines.add(QStringLiteral("break"));
    } else if (dynamic_cast<const ContinueStatement *>(statement)) {
        m_lines.add(QStringLiteral("continue"));
    } else if (const auto *call = dynamic_cast<const CallRoutineStatement *>(statement)) {
        const bool isWritable = call->call && isPlainName(call->call->functionName);
        m_lines.add(
            isWritable
                ? QStringLiteral("call %1(%2)")
                      .arg(call->call->functionName, call->call->arguments
                                                         ? m_expressions.listText(*call->call->arguments)
                                                         : remark(QStringLiteral("no argument list")))
                : remark(QStringLiteral("a call of \"%1\"").arg(call->call ? call->call->functionName : QString())));
    } else {
        return false;
    }
    return true;
}

/// Else-ifs stay on one level, however many there are.
void StatementWriter::writeIf(const IfStatement &statement)
{
    QString head = QStringLiteral("if");
    for (const IfStatement *branch = &statement; branch;) {
        const QString condition = QStringLiteral("%1 (%2)").arg(head, m_expressions.text(branch->condition.get()));
        const Statement *other = branch->elseBranch.get();
        const bool isBlock = dynamic_cast<const CompoundStatement *>(branch->thenBranch.get());
        if (other && !isBlock && endsInOpenIf(branch->thenBranch.get())) {
            writeBlock(condition, branch->thenBranch.get()); // says that it adds braces
        } else {
            writeNested(condition, branch->thenBranch.get());
        }
        const auto *next = dynamic_cast<const IfStatement *>(other);
        if (other && !next) {
            writeNested(QStringLiteral("else"), other);
        }
        head = QStringLiteral("else if");
        branch = next;
    }
}

void StatementWriter::writeFor(const ForStatement &statement)
{
    const QString condition =
        statement.condition ? m_expressions.text(statement.condition.get()) : remark(QStringLiteral("no condition"));
    writeNested(QStringLiteral("for (%1; %2; %3)")
                    .arg(stepListText(statement.initialisation.get()), condition, stepListText(statement.step.get())),
                statement.body.get());
}

QString StatementWriter::stepListText(const StatementList *list) const
{
    if (!list) {
        return remark(QStringLiteral("no list"));
    }
    QStringList parts;
    for (const auto &statement : list->statements) {
        const QString simple = simpleText(statement.get());
        parts += simple.isEmpty() ? remark(QStringLiteral("statement tag %1").arg(statement ? statement->typeTag() : 0))
                                  : simple;
    }
    return parts.join(QStringLiteral(", "));
}

void StatementWriter::writeSwitch(const SwitchStatement &statement)
{
    if (!statement.hasCases) {
        m_lines.add(remark(QStringLiteral("without a list of cases")));
    }
    m_lines.add(QStringLiteral("switch (%1) {").arg(m_expressions.text(statement.value.get())));
    m_lines.open();
    for (const SwitchStatement::CaseItem &item : statement.cases) {
        QString head = QStringLiteral("default:");
        if (item.kind == SwitchStatement::TextCase) {
            head = QStringLiteral("case %1:").arg(quoted(item.text));
        } else if (item.kind == SwitchStatement::NumberCase) {
            head = QStringLiteral("case %1:").arg(numberText(item.number));
        } else if (item.kind != SwitchStatement::DefaultCase) {
            m_lines.add(remark(QStringLiteral("kind of case %1").arg(item.kind)));
        }
        const StatementList *body = item.body.get();
        const auto *block = body && body->statements.size() == 1
                                ? dynamic_cast<const CompoundStatement *>(body->statements.front().get())
                                : nullptr;
        const bool hasVariables = block && block->body && !block->body->statements.empty() &&
                                  dynamic_cast<const BlockItemDefStatement *>(block->body->statements.front().get());
        if (!body) {
            m_lines.add(remark(QStringLiteral("the body is missing")));
        }
        writeList(head, hasVariables ? block->body.get() : body);
    }
    m_lines.close();
    m_lines.add(QStringLiteral("}"));
}

void StatementWriter::writeSelect(const SelectStatement &statement)
{
    if (!statement.hasBranches) {
        m_lines.add(remark(QStringLiteral("without a list of branches")));
    }
    m_lines.add(QStringLiteral("select {"));
    m_lines.open();
    for (const SelectStatement::ActiveItem &item : statement.branches) {
        writeNested(QStringLiteral("active (%1):").arg(m_expressions.text(item.condition.get())), item.body.get());
    }
    m_lines.close();
    m_lines.add(QStringLiteral("}"));
}

/// Items with the same codes stand on one line.
void StatementWriter::writeDefinition(const BlockItemDefStatement &statement)
{
    QStringList names;
    for (size_t i = 0; i < statement.items.size(); ++i) {
        const BlockItemDefStatement::Item &item = statement.items[i];
        names += declaratorText(item.declarator.get());
        const bool isLast = i + 1 == statement.items.size();
        if (!isLast && statement.items[i + 1].codes == item.codes) {
            continue;
        }
        const QString codes = codesText(item.codes);
        const QString line = QStringLiteral("%1 %2").arg(codes, names.join(QStringLiteral(", ")));
        m_lines.add(codes.isEmpty() ? remark(QStringLiteral("a definition that nothing is made of: %1").arg(line))
                                    : line);
        names.clear();
    }
    if (statement.items.empty()) {
        m_lines.add(remark(QStringLiteral("an empty definition")));
    }
}

QString StatementWriter::codesText(const std::vector<int> &codes) const
{
    QStringList words;
    for (const int code : codes) {
        QString word = wordOfPlacementCode(code);
        word = word.isEmpty() ? wordOfStorageCode(code) : word;
        word = word.isEmpty() ? typeWord(code) : word;
        words += word.isEmpty() ? remark(QStringLiteral("code %1").arg(code)) : word;
    }
    return words.join(QLatin1Char(' '));
}

QString StatementWriter::declaratorText(const Expression *declarator) const
{
    if (const auto *array = dynamic_cast<const ArrayExpression *>(declarator)) {
        return QStringLiteral("%1[%2]").arg(declaratorText(array->base.get()),
                                            array->index ? m_expressions.text(array->index.get()) : QString());
    }
    const auto *variable = dynamic_cast<const VarExpression *>(declarator);
    if (variable && isPlainName(variable->name)) {
        return variable->name;
    }
    return remark(QStringLiteral("no declarator: %1").arg(m_expressions.text(declarator).remove(QStringLiteral("*/"))));
}

bool StatementWriter::writeWaits(const Statement *statement)
{
    if (dynamic_cast<const CancelAllWaitStatement *>(statement)) {
        m_lines.add(QStringLiteral("cancel_all_wait"));
        return true;
    }
    if (const auto *cancel = dynamic_cast<const CancelWaitStatement *>(statement)) {
        m_lines.add(QStringLiteral("cancel_wait ") + quoted(cancel->name));
        return true;
    }
    const auto *wait = dynamic_cast<const WaitStatement *>(statement);
    if (!wait) {
        return false;
    }
    QString head = QStringLiteral("wait ") + m_expressions.text(wait->time.get());
    if (!wait->name.isEmpty()) {
        head += QStringLiteral(" ") + quoted(wait->name);
    }
    if (!wait->captured.empty()) {
        const QStringList captured(wait->captured.begin(), wait->captured.end());
        head += QStringLiteral(" capture (%1)").arg(captured.join(QStringLiteral(", ")));
    }
    writeNested(head, wait->body.get());
    return true;
}

QString StatementWriter::switchingText(const OnOffStatement &statement) const
{
    static const QStringList kWords{ QStringLiteral("on"), QStringLiteral("off"), QStringLiteral("to"),
                                     QStringLiteral("pulse") };
    const bool isKnown = statement.action >= 0 && statement.action < kWords.size();
    const QString note = isKnown ? QString() : remark(QStringLiteral("action %1").arg(statement.action));
    const QString word = isKnown ? kWords.at(statement.action) : QStringLiteral("off ");
    return statement.channels ? QStringLiteral("%1%2 %3").arg(word, note, m_expressions.buttonText(*statement.channels))
                              : remark(QStringLiteral("%1 without channels").arg(word));
}

bool StatementWriter::writeDeviceStatement(const Statement *statement)
{
    if (const auto *switching = dynamic_cast<const OnOffStatement *>(statement)) {
        m_lines.add(switchingText(*switching));
        return true;
    }
    const auto *command = dynamic_cast<const CommandStatement *>(statement);
    if (!command) {
        return false;
    }
    const QString device = m_expressions.deviceText(command->device.get());
    if (const auto *string = dynamic_cast<const SendStringStatement *>(statement)) {
        m_lines.add(QStringLiteral("send_string %1, %2").arg(device, m_expressions.text(string->payload.get())));
    } else if (const auto *text = dynamic_cast<const SendCommandStatement *>(statement)) {
        m_lines.add(QStringLiteral("send_command %1, %2").arg(device, m_expressions.text(text->payload.get())));
    } else if (const auto *level = dynamic_cast<const SendLevelStatement *>(statement)) {
        QStringList parts{ device };
        for (const auto &value : level->values) {
            parts += m_expressions.text(value.get());
        }
        const bool isWritable = level->values.size() == 1 || level->values.size() == 2;
        const QString line = QStringLiteral("send_level ") + parts.join(QStringLiteral(", "));
        m_lines.add(isWritable ? line : remark(line));
    } else if (const auto *create = dynamic_cast<const CreateLevelStatement *>(statement)) {
        m_lines.add(QStringLiteral("create_level %1, %2, %3")
                        .arg(device, m_expressions.text(create->levelCode.get()), create->variable));
    } else if (const auto *buffer = dynamic_cast<const CreateBufferStatement *>(statement)) {
        m_lines.add(QStringLiteral("create_buffer %1, %2").arg(device, buffer->buffer));
    } else if (const auto *clear = dynamic_cast<const ClearBufferStatement *>(statement)) {
        const QString note =
            clear->device ? QStringLiteral(" ") + remark(QStringLiteral("device %1").arg(device)) : QString();
        m_lines.add(QStringLiteral("clear_buffer %1%2").arg(clear->buffer, note));
    } else {
        return false;
    }
    return true;
}
