#pragma once
#include "interp/Code.h"

#include <QByteArray>

#include <vector>

/// A string expression: a literal, or a list that is flattened into bytes.
class TextCode : public Code
{
public:
    explicit TextCode(const QByteArray &literal)
        : m_literal(literal)
    {}
    explicit TextCode(std::vector<std::unique_ptr<Code>> items)
        : m_items(std::move(items))
        , m_isList(true)
    {}

    Number number(Run &run) const override;
    ValueView view(Run &run, ValueRef &hold) const override;
    bool isQuiet() const override;

    void appendTo(QByteArray &bytes, Run &run) const override;
    /// The bytes from an item on, from 0.
    void appendItemsTo(QByteArray &bytes, Run &run, size_t firstItem) const;
    const std::vector<std::unique_ptr<Code>> &items() const { return m_items; } // empty for a literal

private:
    QByteArray m_literal;
    std::vector<std::unique_ptr<Code>> m_items;
    bool m_isList = false;
};
