#pragma once
#include <QtTest>

namespace TableCells {
/// A text as a test writes it: a literal is UTF-8.
struct Text
{
    Text() = default;
    Text(const char *text)
        : value(QString::fromUtf8(text))
    {}
    Text(const QString &text)
        : value(text)
    {}
    QString value;
};

struct Texts
{
    Texts() = default;
    Texts(std::initializer_list<Text> texts)
    {
        for (const Text &text : texts) {
            value << text.value;
        }
    }
    Texts(const QStringList &texts)
        : value(texts)
    {}
    QStringList value;
};

/// How a cell is written, and what becomes of it.
template <class Column>
struct Cell
{
    using Written = Column;
    static const Column &of(const Written &written) { return written; }
};
template <>
struct Cell<QString>
{
    using Written = Text;
    static const QString &of(const Written &written) { return written.value; }
};
template <>
struct Cell<QStringList>
{
    using Written = Texts;
    static const QStringList &of(const Written &written) { return written.value; }
};
} // namespace TableCells

/// The data table of a test, made in its _data function:
///
///     const Table<int, QString> row("code", "meaning");
///     row("the first", 1, "one");
///     row(2, "two"); // a row without a name: its first text is the name
template <class... Columns>
class Table
{
public:
    template <class... Names>
    explicit Table(Names... names)
    {
        (QTest::addColumn<Columns>(names), ...);
    }

    void operator()(const char *name, const typename TableCells::Cell<Columns>::Written &...cells) const
    {
        QTestData &row = QTest::newRow(name);
        (void(row << TableCells::Cell<Columns>::of(cells)), ...);
    }

    void operator()(const typename TableCells::Cell<Columns>::Written &...cells) const
    {
        QByteArray name;
        (addTo(name, TableCells::Cell<Columns>::of(cells)), ...);
        if (const int before = m_seen[name]++) {
            name += ' ' + QByteArray::number(before + 1);
        }
        (*this)(name.constData(), cells...);
    }

private:
    template <class Value>
    static void addTo(QByteArray &name, const Value &value)
    {
        if constexpr (std::is_same_v<Value, QString>) {
            addTo(name, value.toUtf8());
        } else if constexpr (std::is_same_v<Value, QByteArray>) {
            name += name.isEmpty() ? QByteArray(value).replace('\n', ' ') : QByteArray();
        }
    }

    mutable QHash<QByteArray, int> m_seen; // names that rows have got from their texts
};
