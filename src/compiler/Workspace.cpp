#include "compiler/Workspace.h"

#include <algorithm>

LocalScope::Local *LocalScope::find(const QString &name)
{
    const auto found = std::find_if(m_locals.rbegin(), m_locals.rend(), [&name](const Local &local) {
        return normalisedName(local.name) == normalisedName(name);
    });
    return found != m_locals.rend() ? &*found : nullptr;
}

QStringList LocalScope::names() const
{
    QStringList names;
    for (const Local &local : m_locals) {
        names += local.name;
    }
    return names;
}

std::vector<LocalScope::Local> LocalScope::closeBlock()
{
    const auto start = m_locals.begin() + static_cast<std::ptrdiff_t>(m_blockStarts.back());
    std::vector<Local> declared(start, m_locals.end());
    m_locals.erase(start, m_locals.end());
    m_blockStarts.pop_back();
    return declared;
}

QString HiddenLists::nameOf(const Constant &list, bool isStructured)
{
    std::unique_ptr<Array> array;
    std::vector<double> numbers;
    const bool isFlat = std::none_of(list.items.begin(), list.items.end(),
                                     [](const Constant &item) { return item.isDevice() || item.isList(); });
    if (isFlat && !isStructured && flatten(list, numbers)) {
        array = std::make_unique<Array>(DoubleType);
        int index = 0;
        for (const double number : numbers) {
            array->setElement(++index, std::make_unique<Double>(number));
        }
        array->setLength(index);
        array->setMaxLength(index);
    } else {
        array = makeStructured(list);
    }
    if (!array) {
        return {};
    }
    array->setConst(true);
    array->setInitialised(true);
    const QByteArray record = recordOf(*array);
    QString &name = m_names[record];
    if (name.isEmpty()) {
        name = QStringLiteral("{%1}").arg(m_names.size());
        array->setName(Name(name));
        m_program.declareGlobal(std::move(array));
    }
    return name;
}

std::unique_ptr<BasicType> HiddenLists::makeElement(const Constant &item) const
{
    std::unique_ptr<BasicType> element;
    switch (item.kind) {
    case Constant::Kind::Number:
        element = std::make_unique<Double>(item.number);
        break;
    case Constant::Kind::Text:
        element = Array::ofBytes({ item.bytes.constData(), static_cast<size_t>(item.bytes.size()) });
        break;
    case Constant::Kind::Device:
        element = std::make_unique<Device>(item.device, &m_program);
        break;
    case Constant::Kind::List:
        element = makeStructured(item);
        break;
    }
    if (element) {
        element->setInitialised(true);
    }
    return element;
}

std::unique_ptr<Array> HiddenLists::makeStructured(const Constant &list) const
{
    const bool areDevices = !list.items.empty() && std::all_of(list.items.begin(), list.items.end(),
                                                               [](const Constant &item) { return item.isDevice(); });
    auto array = std::make_unique<Array>(areDevices ? DeviceType : DoubleType);
    // Behind an array, a loader takes a bare element for a cell of a row: there a number stands as a list of one.
    const bool hasRows = !list.items.empty() && (list.items.front().isText() || list.items.front().isList());
    int index = 0;
    for (const Constant &item : list.items) {
        if (hasRows && item.isDevice()) {
            return nullptr;
        }
        Constant wrapped;
        wrapped.kind = Constant::Kind::List;
        wrapped.items = { item };
        std::unique_ptr<BasicType> element = makeElement(hasRows && item.isNumber() ? wrapped : item);
        if (!element) {
            return nullptr;
        }
        array->setElement(++index, std::move(element));
    }
    array->setLength(index);
    array->setMaxLength(index);
    return array;
}

void Workspace::noteUse(const Token &name, const LocalScope::Local &local)
{
    if (local.kind == LocalScope::Kind::EventData) {
        names.useSystem(NameIndex::Kind::System, name);
    } else {
        names.use(name, local.position);
    }
}

void Workspace::noteUse(const Token &name, const GlobalSymbol &global)
{
    if (global.isSystem) {
        names.useSystem(NameIndex::Kind::System, name);
    } else {
        names.use(name, global.position);
    }
}
