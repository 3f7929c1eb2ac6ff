#include "compiler/parsing/Globals.h"

#include "compiler/lexing/Words.h"
#include "interp/code/FunctionCode.h"

#include <limits>

std::optional<int> Globals::typeCodeAt(size_t index)
{
    const Token &type = token(index);
    const int code = m_work.symbols.typeCodeOf(type.text);
    if (code >= 0) {
        noteType(index, code);
        return code;
    }
    if (reportOtherLanguage(m_work.sources, type)) {
        return std::nullopt;
    }
    m_work.sources.report(
        Fault::UnknownType, type.position,
        QStringLiteral("unknown type '%1'%2").arg(type.text, didYouMean(m_work.symbols.closestType(type.text))));
    return std::nullopt;
}

void Globals::noteType(size_t index, int code)
{
    if (const auto declared = m_typePositions.find(code); declared != m_typePositions.end()) {
        m_work.names.use(token(index), declared->second);
    }
}

std::optional<std::vector<int>> Globals::sizesOf(const std::vector<TokenRange> &ranges)
{
    std::vector<int> sizes;
    for (const TokenRange &range : ranges) {
        if (range.isEmpty()) {
            sizes.push_back(0);
            continue;
        }
        const TokenCursor::Visit visit(m_work.cursor, range);
        const TokenCursor::Nested nested(m_work.cursor);
        const std::optional<int> size =
            ExpressionParser(m_work).parseConstantInteger("the size of an array", 1, std::numeric_limits<int>::max());
        if (size && !m_work.cursor.atEnd()) {
            m_work.cursor.expected("']'");
            return std::nullopt;
        }
        if (!size) {
            return std::nullopt;
        }
        sizes.push_back(*size);
    }
    return sizes;
}

void Globals::declareTypes()
{
    std::vector<const Outline::Structure *> declared;
    int code = DevLev::kTypeCode;
    for (const Outline::Structure &structure : m_outline.structures) {
        const Token &name = token(structure.name);
        if (m_work.symbols.typeCodeOf(name.text) >= 0 || isReservedWord(name.text)) {
            m_work.sources.report(Fault::DuplicateName, name.position,
                                  isReservedWord(name.text)
                                      ? QStringLiteral("'%1' is a word of the language").arg(name.text)
                                      : QStringLiteral("the type '%1' is already defined").arg(name.text));
            continue;
        }
        m_work.symbols.nameType(name.text, ++code);
        m_typePositions[code] = name.position;
        m_work.names.declare(NameIndex::Kind::Structure, m_work.cursor, { structure.name - 1, structure.name },
                             { structure.name, structure.name + 1 }, code);
        m_work.names.extend(m_work.cursor, structure.name, std::max(structure.name, structure.members.last));
        declared.push_back(&structure);
    }
    for (const Outline::Variables &line : m_outline.variables) {
        for (const Outline::Declarator &declarator : line.declarators) {
            nameVariable(line, declarator);
        }
    }
    code = DevLev::kTypeCode;
    for (const Outline::Structure *structure : declared) {
        ++code;
        std::optional<CustomTypeInfo> info = readStructure(*structure);
        if (!info) {
            info.emplace(token(structure->name).text, std::vector<TypeDecl>());
        }
        for (const TypeDecl &member : info->members()) {
            if (member.dimensions.empty() || member.dimensions.size() > 1) {
                m_memberTypes[code].push_back(member.typeCode);
            }
        }
        m_work.symbols.program().setCustomType(code, std::make_unique<CustomTypeInfo>(*info));
    }
    m_typesReady = true;
    reportRecursiveTypes();
}

std::optional<CustomTypeInfo> Globals::readStructure(const Outline::Structure &structure)
{
    if (structure.isBroken) {
        m_work.symbols.hideMembersOf(m_work.symbols.typeCodeOf(token(structure.name).text));
        return std::nullopt;
    }
    const int code = m_work.symbols.typeCodeOf(token(structure.name).text);
    const TokenCursor::Visit visit(m_work.cursor, structure.members);
    std::vector<TypeDecl> members;
    while (!m_work.cursor.atEnd()) {
        if (!m_work.cursor.take(TokenKind::Semicolon) && !readMember(code, members)) {
            m_work.symbols.hideMembersOf(code);
            return std::nullopt;
        }
    }
    if (members.empty()) {
        m_work.sources.report(Fault::Structure, token(structure.name).position,
                              QStringLiteral("a structure needs at least one member"));
    }
    return CustomTypeInfo(token(structure.name).text, members);
}

bool Globals::readMember(int structure, std::vector<TypeDecl> &members)
{
    TokenCursor &cursor = m_work.cursor;
    if (!cursor.at(TokenKind::Name)) {
        cursor.expected("the type of a member");
        return false;
    }
    const size_t head = cursor.index();
    const std::optional<int> type = typeCodeAt(head);
    cursor.next();
    do {
        if (!cursor.at(TokenKind::Name)) {
            cursor.expected("the name of a member");
            return false;
        }
        const size_t index = cursor.index();
        const Token name = cursor.next();
        std::vector<TokenRange> ranges;
        while (cursor.at(TokenKind::LeftBracket)) {
            TokenRange range{ cursor.index() + 1, 0 };
            if (!cursor.skipBalanced()) {
                cursor.report(Fault::UnclosedBracket, QStringLiteral("']' is missing"));
                return false;
            }
            range.last = cursor.index() - 1;
            ranges.push_back(range);
        }
        for (const TypeDecl &member : members) {
            if (member.name == normalisedName(name.text)) {
                m_work.sources.report(Fault::DuplicateName, name.position,
                                      QStringLiteral("the structure has a member '%1' already").arg(name.text));
            }
        }
        m_work.names.declare(NameIndex::Kind::Member, cursor, { head, head + 1 }, { index, cursor.index() }, structure);
        const std::optional<std::vector<int>> sizes = sizesOf(ranges);
        members.push_back(
            { normalisedName(name.text), type.value_or(IntegerType), sizes.value_or(std::vector<int>()) });
    } while (cursor.take(TokenKind::Comma));
    return true;
}

void Globals::reportRecursiveTypes()
{
    for (const auto &[code, position] : m_typePositions) {
        std::set<int> seen;
        if (contains(code, code, seen)) {
            m_work.sources.report(Fault::Structure, position, QStringLiteral("the structure contains itself"));
            return;
        }
    }
}

bool Globals::contains(int code, int wanted, std::set<int> &seen) const
{
    const auto members = m_memberTypes.find(code);
    if (members == m_memberTypes.end() || !seen.insert(code).second) {
        return false;
    }
    for (const int member : members->second) {
        if (member == wanted || contains(member, wanted, seen)) {
            return true;
        }
    }
    return false;
}

void Globals::declareVariables()
{
    for (Pending *pending : m_order) {
        make(*pending);
    }
    for (Pending *pending : m_order) {
        declare(*pending);
    }
}

int Globals::storageOf(const Outline::Variables &line)
{
    if (line.storageWords.size() > 1) {
        m_work.sources.report(Fault::Definition, token(line.storageWords[1]).position,
                              QStringLiteral("only one storage class can be given"));
    }
    if (line.storageWords.empty()) {
        return Volatile;
    }
    const Token &word = token(line.storageWords.front());
    if (line.isConst) {
        m_work.sources.report(Fault::Definition, word.position, QStringLiteral("a constant has no storage class"));
    }
    return codeOfWord(word.text, Word::Storage);
}

void Globals::nameVariable(const Outline::Variables &line, const Outline::Declarator &declarator)
{
    const Token &name = token(declarator.name);
    if (const QString problem = nameProblem(name.text, !declarator.sizes.empty()); !problem.isEmpty()) {
        m_work.sources.report(Fault::ReservedWord, name.position, problem);
        return;
    }
    const int type = m_work.symbols.typeCodeOf(token(line.type).text);
    noteType(line.type, type);
    GlobalSymbol symbol{ name.text, name.position, { type, static_cast<int>(declarator.sizes.size()) } };
    if (declarator.isFaulty) {
        symbol.type = {};
    }
    symbol.isInitialised = declarator.hasInitialValue;
    symbol.isConst = line.isConst || (type == DeviceType && line.storageWords.empty());
    const GlobalSymbol *known = m_work.symbols.findGlobal(name.text);
    if (known && !known->isSystem) {
        m_work.sources.report(Fault::DuplicateName, name.position,
                              QStringLiteral("'%1' is already defined (%2)")
                                  .arg(name.text, m_work.sources.lineReference(known->position, name.position)));
        return;
    }
    if (known && !(symbol.isConst && symbol.type.isNumber() && known->type.isNumber())) {
        m_work.sources.report(Fault::DuplicateName, name.position,
                              QStringLiteral("'%1' is already defined by the system").arg(name.text));
        return;
    }
    m_work.symbols.addGlobal(symbol);
    const size_t last = std::max({ declarator.name + 1, declarator.initialValue.last,
                                   declarator.sizes.empty() ? 0 : declarator.sizes.back().last + 1 });
    m_work.names.declare(symbol.isConst ? NameIndex::Kind::Constant : NameIndex::Kind::Variable, m_work.cursor,
                         { line.first, line.type + 1 }, { declarator.name, last });
    auto pending = std::make_unique<Pending>();
    pending->line = &line;
    pending->declarator = &declarator;
    m_order.push_back(pending.get());
    m_pending[normalisedName(name.text)] = std::move(pending);
}

const BasicType *Globals::constantValue(const QString &name)
{
    if (HiddenLists::isHiddenName(name)) {
        return m_work.symbols.program().findGlobal(Name(name));
    }
    if (m_work.locals.find(name)) {
        return nullptr;
    }
    const auto found = m_pending.find(normalisedName(name));
    if (found != m_pending.end()) {
        make(*found->second);
    }
    const GlobalSymbol *symbol = m_work.symbols.findGlobal(name);
    m_work.metFaultyConstant = m_work.metFaultyConstant || (symbol && !symbol->value);
    return symbol && symbol->isConst && !isSystemVariable(name) ? symbol->value : nullptr;
}

/// Makes a value, and before it the constants that it needs: a chain of them may be longer than the stack is deep.
void Globals::make(Pending &pending)
{
    struct Visited
    {
        Pending &pending;
        std::vector<TokenRange> rest; // of its value and sizes: the tokens that have not been looked at
    };
    const auto enter = [](Pending &entered) {
        entered.isBeingMade = true;
        Visited visited{ entered, entered.declarator->sizes };
        visited.rest.push_back(entered.declarator->initialValue);
        return visited;
    };
    if (pending.isDone) {
        return;
    }
    if (pending.isBeingMade) {
        const Token &name = token(pending.declarator->name);
        m_work.sources.report(Fault::ConstantValue, name.position,
                              QStringLiteral("the value of '%1' depends on itself").arg(name.text));
        return;
    }
    std::vector<Visited> path{ enter(pending) };
    while (!path.empty()) {
        Pending *const needed = nextNeeded(path.back().rest);
        if (needed) {
            path.push_back(enter(*needed));
            continue;
        }
        makeOne(path.back().pending);
        path.pop_back();
    }
}

/// The first constant that is named in the ranges and not made yet; what was looked at goes from them.
Globals::Pending *Globals::nextNeeded(std::vector<TokenRange> &ranges)
{
    while (!ranges.empty()) {
        TokenRange &range = ranges.back();
        while (!range.isEmpty()) {
            const Token &word = token(range.first++);
            const auto found = word.is(TokenKind::Name) ? m_pending.find(normalisedName(word.text)) : m_pending.end();
            if (found != m_pending.end() && !found->second->isDone && !found->second->isBeingMade &&
                m_work.symbols.findGlobal(word.text)->isConst) {
                return found->second.get();
            }
        }
        ranges.pop_back();
    }
    return nullptr;
}

void Globals::makeOne(Pending &pending)
{
    const Token &name = token(pending.declarator->name);
    pending.isDone = true;
    if (pending.declarator->isFaulty) {
        pending.isBeingMade = false;
        return;
    }
    if (!m_typesReady && m_work.symbols.typeCodeOf(token(pending.line->type).text) > DevLev::kTypeCode) {
        m_work.sources.report(Fault::ArraySize, m_work.cursor.position(),
                              QStringLiteral("a structure cannot be used in the size of a member"));
        pending.isBeingMade = false;
        return;
    }
    std::unique_ptr<BasicType> value = makeEmpty(pending);
    if (value) {
        value->setName(Name()); // named at the end: a named number would report its changes
        const int errorsBefore = m_work.sources.errors();
        m_work.metFaultyConstant = false;
        initialise(pending, *value);
        const bool isGood = m_work.sources.errors() == errorsBefore && !m_work.metFaultyConstant;
        keepTemplates(*value);
        value->setName(Name(name.text));
        GlobalSymbol &symbol = *m_work.symbols.findGlobal(name.text);
        value->setConst(symbol.isConst);
        symbol.value = isGood ? value.get() : nullptr;
        pending.value = std::move(value);
    }
    pending.isBeingMade = false;
}

std::unique_ptr<BasicType> Globals::makeEmpty(const Pending &pending)
{
    const int storage = storageOf(*pending.line);
    const std::optional<int> type = typeCodeAt(pending.line->type);
    const std::optional<std::vector<int>> sizes = sizesOf(pending.declarator->sizes);
    if (!type || !sizes) {
        return nullptr;
    }
    std::unique_ptr<BasicType> value;
    if (sizes->empty()) {
        value = makeValue(*type, &m_work.symbols.program());
    } else {
        value = makeArray(Name(), *type, *sizes, &m_work.symbols.program());
    }
    if (value) {
        value->setStorageClass(storage);
    }
    return value;
}

void Globals::initialise(const Pending &pending, BasicType &value)
{
    const Token &name = token(pending.declarator->name);
    if (!pending.declarator->hasInitialValue) {
        if (m_work.symbols.findGlobal(name.text)->isConst) {
            m_work.sources.report(
                Fault::ConstantValue, name.position,
                value.typeCode() == DeviceType
                    ? QStringLiteral("the device '%1' needs an address: = number:port:system").arg(name.text)
                    : QStringLiteral("the constant '%1' needs a value").arg(name.text));
        }
        return;
    }
    const TokenCursor::Visit visit(m_work.cursor, pending.declarator->initialValue);
    const bool before = m_work.inInitialValue;
    m_work.inInitialValue = true;
    const std::optional<Constant> initial = ExpressionParser(m_work).parseConstant();
    m_work.inInitialValue = before;
    if (!initial) {
        return;
    }
    if (!m_work.cursor.atEnd()) {
        m_work.cursor.expected("the end of the value");
        return;
    }
    Initialiser(m_work.symbols.program(), m_work.sources).initialise(value, *initial);
}

void Globals::declare(Pending &pending)
{
    if (!pending.value) {
        return;
    }
    const Token &name = token(pending.declarator->name);
    AST &program = m_work.symbols.program();
    const Double *system = asDouble(program.findGlobal(Name(name.text)));
    const Double *own = asDouble(pending.value.get());
    if (system && own && !fuzzyEqual(1 + system->value(), 1 + own->value())) {
        m_work.sources.report(Fault::DuplicateName, name.position,
                              QStringLiteral("'%1' is already defined by the system, with the value %2")
                                  .arg(name.text, QString::number(system->value(), 'g', 15)));
        return;
    }
    program.declareGlobal(std::move(pending.value));
}
