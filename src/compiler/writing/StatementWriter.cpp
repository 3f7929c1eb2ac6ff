#include "compiler/writing/StatementWriter.h"

#include "compiler/lexing/Words.h"
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
    if (const auto *branch = as<IfStatement>(statement)) {
        return !branch->elseBranch || endsInOpenIf(branch->elseBranch.get());
    }
    if (const auto *loop = as<WhileStatement>(statement)) {
        return endsInOpenIf(loop->body.get());
    }
    if (const auto *loop = as<ForStatement>(statement)) {
        return endsInOpenIf(loop->body.get());
    }
    if (const auto *wait = as<WaitStatement>(statement)) {
        return endsInOpenIf(wait->body.get());
    }
    return false;
}
} // namespace

QString StatementWriter::typeWord(int code) const
{
    if (QString word = wordOfCode(code, Word::Type); !word.isEmpty()) {
        return word;
    }
    const CustomTypeInfo *info = m_program.findType(code);
    return info && isPlainName(info->name()) ? info->name() : QString();
}

void StatementWriter::writeBlock(const QString &head, const Statement *body)
{
    const auto *block = as<CompoundStatement>(body);
    const auto *list = block ? block->body.get() : as<StatementList>(body);
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
    if (const auto *block = as<CompoundStatement>(body)) {
        writeList(head, block->body.get());
        return;
    }
    if (!body || as<StatementList>(body) || as<BlockItemDefStatement>(body)) {
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
    visitNode(StatementTypes(), *statement, [this](const auto &node) { write(node); });
}

/// What may stand in the head of FOR; empty: anything else.
QString StatementWriter::simpleText(const Statement *statement) const
{
    if (const auto *assignment = as<AssignStatement>(statement)) {
        return simpleText(*assignment);
    }
    if (const auto *call = as<FuncCallStatement>(statement)) {
        return simpleText(*call);
    }
    if (as<IncStatement>(statement) || as<DecStatement>(statement)) {
        return simpleText(static_cast<const StepStatement &>(*statement));
    }
    return {};
}

QString StatementWriter::simpleText(const AssignStatement &statement) const
{
    return QStringLiteral("%1 = %2").arg(m_expressions.text(statement.target.get()),
                                         m_expressions.text(statement.value.get()));
}

QString StatementWriter::simpleText(const StepStatement &statement) const
{
    const QString sign = as<IncStatement>(&statement) ? QStringLiteral("++") : QStringLiteral("--");
    return m_expressions.text(statement.operand.get()) + sign;
}

QString StatementWriter::simpleText(const FuncCallStatement &statement) const
{
    return statement.call ? m_expressions.text(statement.call.get())
                          : remark(QStringLiteral("a call without a function"));
}

void StatementWriter::write(const CompoundStatement &statement)
{
    writeList({}, statement.body.get());
}

void StatementWriter::write(const StatementList &statement)
{
    m_lines.add(remark(QStringLiteral("a list without a block")));
    writeList({}, &statement);
}

void StatementWriter::write(const WhileStatement &statement)
{
    writeNested(QStringLiteral("while (%1)").arg(m_expressions.text(statement.condition.get())), statement.body.get());
}

void StatementWriter::write(const ReturnStatement &statement)
{
    m_lines.add(statement.value ? QStringLiteral("return ") + m_expressions.text(statement.value.get())
                                : QStringLiteral("return"));
}

void StatementWriter::write(const BreakStatement &)
{
    m_lines.add(QStringLiteral("break"));
}

void StatementWriter::write(const ContinueStatement &)
{
    m_lines.add(QStringLiteral("continue"));
}

void StatementWriter::write(const CallRoutineStatement &statement)
{
    const CallExpression *const call = statement.call.get();
    if (!call || !isPlainName(call->functionName)) {
        m_lines.add(remark(QStringLiteral("a call of \"%1\"").arg(call ? call->functionName : QString())));
        return;
    }
    m_lines.add(QStringLiteral("call %1(%2)")
                    .arg(call->functionName, call->arguments ? m_expressions.listText(*call->arguments)
                                                             : remark(QStringLiteral("no argument list"))));
}

/// Else-ifs stay on one level, however many there are.
void StatementWriter::write(const IfStatement &statement)
{
    QString head = QStringLiteral("if");
    for (const IfStatement *branch = &statement; branch;) {
        const QString condition = QStringLiteral("%1 (%2)").arg(head, m_expressions.text(branch->condition.get()));
        const Statement *other = branch->elseBranch.get();
        const bool isBlock = as<CompoundStatement>(branch->thenBranch.get());
        if (other && !isBlock && endsInOpenIf(branch->thenBranch.get())) {
            writeBlock(condition, branch->thenBranch.get()); // says that it adds braces
        } else {
            writeNested(condition, branch->thenBranch.get());
        }
        const auto *next = as<IfStatement>(other);
        if (other && !next) {
            writeNested(QStringLiteral("else"), other);
        }
        head = QStringLiteral("else if");
        branch = next;
    }
}

void StatementWriter::write(const ForStatement &statement)
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

void StatementWriter::write(const SwitchStatement &statement)
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
        const auto *block =
            body && body->statements.size() == 1 ? as<CompoundStatement>(body->statements.front().get()) : nullptr;
        const bool hasVariables = block && block->body && !block->body->statements.empty() &&
                                  as<BlockItemDefStatement>(block->body->statements.front().get());
        if (!body) {
            m_lines.add(remark(QStringLiteral("the body is missing")));
        }
        writeList(head, hasVariables ? block->body.get() : body);
    }
    m_lines.close();
    m_lines.add(QStringLiteral("}"));
}

void StatementWriter::write(const SelectStatement &statement)
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
void StatementWriter::write(const BlockItemDefStatement &statement)
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
        QString word = wordOfCode(code, Word::Placing);
        word = word.isEmpty() ? wordOfCode(code, Word::Storage) : word;
        word = word.isEmpty() ? typeWord(code) : word;
        words += word.isEmpty() ? remark(QStringLiteral("code %1").arg(code)) : word;
    }
    return words.join(QLatin1Char(' '));
}

QString StatementWriter::declaratorText(const Expression *declarator) const
{
    if (const auto *array = as<ArrayExpression>(declarator)) {
        return QStringLiteral("%1[%2]").arg(declaratorText(array->base.get()),
                                            array->index ? m_expressions.text(array->index.get()) : QString());
    }
    const auto *variable = as<VarExpression>(declarator);
    if (variable && isPlainName(variable->name)) {
        return variable->name;
    }
    return remark(QStringLiteral("no declarator: %1").arg(m_expressions.text(declarator).remove(QStringLiteral("*/"))));
}

void StatementWriter::write(const CancelAllWaitStatement &)
{
    m_lines.add(QStringLiteral("cancel_all_wait"));
}

void StatementWriter::write(const CancelWaitStatement &statement)
{
    m_lines.add(QStringLiteral("cancel_wait ") + quoted(statement.name));
}

void StatementWriter::write(const WaitStatement &statement)
{
    QString head = QStringLiteral("wait ") + m_expressions.text(statement.time.get());
    if (!statement.name.isEmpty()) {
        head += QStringLiteral(" ") + quoted(statement.name);
    }
    if (!statement.captured.empty()) {
        const QStringList captured(statement.captured.begin(), statement.captured.end());
        head += QStringLiteral(" capture (%1)").arg(captured.join(QStringLiteral(", ")));
    }
    writeNested(head, statement.body.get());
}

void StatementWriter::write(const OnOffStatement &statement)
{
    static const QStringList kActions{ QStringLiteral("on"), QStringLiteral("off"), QStringLiteral("to"),
                                       QStringLiteral("pulse") };
    const bool isKnown = statement.action >= 0 && statement.action < kActions.size();
    const QString note = isKnown ? QString() : remark(QStringLiteral("action %1").arg(statement.action));
    const QString word = isKnown ? kActions.at(statement.action) : QStringLiteral("off ");
    m_lines.add(statement.channels
                    ? QStringLiteral("%1%2 %3").arg(word, note, m_expressions.buttonText(*statement.channels))
                    : remark(QStringLiteral("%1 without channels").arg(word)));
}

void StatementWriter::write(const SendStringStatement &statement)
{
    m_lines.add(
        QStringLiteral("send_string %1, %2")
            .arg(m_expressions.deviceText(statement.device.get()), m_expressions.text(statement.payload.get())));
}

void StatementWriter::write(const SendCommandStatement &statement)
{
    m_lines.add(
        QStringLiteral("send_command %1, %2")
            .arg(m_expressions.deviceText(statement.device.get()), m_expressions.text(statement.payload.get())));
}

void StatementWriter::write(const SendLevelStatement &statement)
{
    QStringList parts{ m_expressions.deviceText(statement.device.get()) };
    for (const auto &value : statement.values) {
        parts += m_expressions.text(value.get());
    }
    const bool isWritable = statement.values.size() == 1 || statement.values.size() == 2;
    const QString line = QStringLiteral("send_level ") + parts.join(QStringLiteral(", "));
    m_lines.add(isWritable ? line : remark(line));
}

void StatementWriter::write(const CreateLevelStatement &statement)
{
    m_lines.add(QStringLiteral("create_level %1, %2, %3")
                    .arg(m_expressions.deviceText(statement.device.get()),
                         m_expressions.text(statement.levelCode.get()), statement.variable));
}

void StatementWriter::write(const CreateBufferStatement &statement)
{
    m_lines.add(
        QStringLiteral("create_buffer %1, %2").arg(m_expressions.deviceText(statement.device.get()), statement.buffer));
}

void StatementWriter::write(const ClearBufferStatement &statement)
{
    const DeviceExpr *const device = statement.device.get();
    const QString note =
        device ? QStringLiteral(" ") + remark(QStringLiteral("device %1").arg(m_expressions.deviceText(device)))
               : QString();
    m_lines.add(QStringLiteral("clear_buffer %1%2").arg(statement.buffer, note));
}
