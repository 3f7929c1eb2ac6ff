#include "interp/code/TextCode.h"

#include "interp/Preparer.h"
#include "interp/Run.h"
#include "interp/nodes/Expressions.h"
#include "model/Values.h"

#include <algorithm>

Number TextCode::number(Run &run) const
{
    QByteArray bytes;
    if (m_isList) {
        appendTo(bytes, run);
    }
    const QByteArray &seen = m_isList ? bytes : m_literal;
    return { seen.isEmpty() ? 0.0 : static_cast<double>(static_cast<signed char>(seen.at(0))), true };
}

ValueView TextCode::view(Run &run, ValueRef &hold) const
{
    ScratchBytes scratch(run);
    appendTo(scratch.bytes, run);
    hold =
        std::make_shared<Array>(std::string_view(scratch.bytes.constData(), static_cast<size_t>(scratch.bytes.size())));
    return ValueView::of(hold.get());
}

bool TextCode::isQuiet() const
{
    return std::all_of(m_items.begin(), m_items.end(), [](const auto &item) { return !item || item->isQuiet(); });
}

void TextCode::appendTo(QByteArray &bytes, Run &run) const
{
    if (!m_isList) {
        bytes.append(m_literal);
        return;
    }
    appendItemsTo(bytes, run, 0);
}

void TextCode::appendItemsTo(QByteArray &bytes, Run &run, size_t firstItem) const
{
    for (size_t index = firstItem; index < m_items.size(); ++index) {
        if (m_items[index]) {
            m_items[index]->appendTo(bytes, run);
        }
    }
}

std::unique_ptr<Code> StringExpression::prepare(Preparer &preparer, Context) const
{
    if (!list) {
        return std::make_unique<TextCode>(text.toUtf8());
    }
    std::vector<std::unique_ptr<Code>> items;
    for (const auto &item : list->items) {
        items.push_back(preparer.expression(item));
    }
    return std::make_unique<TextCode>(std::move(items));
}
