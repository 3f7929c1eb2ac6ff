#pragma once
#include "model/RecordStream.h"
#include "model/Values.h"
#include "program/NodeTypes.h"

#include <concepts>

class NodeReader;
class NodeWriter;
class SubEventHandler;

template <class Node>
concept TreeNode = requires
{
    typename Node::Family;
};

/// How the nodes of a family are read and written, by their tags.
template <class Base>
class NodeTable
{
public:
    struct Row
    {
        std::unique_ptr<Base> (*read)(NodeReader &reader); // nullptr: a tag without a class
        void (*write)(NodeWriter &writer, const Base &node);
    };

    template <size_t Count>
    constexpr NodeTable(int first, const std::array<Row, Count> &rows)
        : m_first(first)
        , m_count(Count)
        , m_rows(rows.data())
    {}

    std::unique_ptr<Base> read(int tag, NodeReader &reader) const
    {
        const Row *const row = tag >= m_first && tag - m_first < m_count ? m_rows + (tag - m_first) : nullptr;
        return row && row->read ? row->read(reader) : nullptr;
    }
    void write(NodeWriter &writer, const Base &node) const { m_rows[node.typeTag() - m_first].write(writer, node); }

private:
    int m_first;
    int m_count;
    const Row *m_rows;
};

/// All node classes of the language.
struct NodeTables
{
    const NodeTable<Expression> &expressions;
    const NodeTable<Statement> &statements;
    const NodeTable<SubEventHandler> &subEventHandlers;
    const NodeTable<EventHandler> &eventHandlers;

    const auto &of(const Expression *) const { return expressions; }
    const auto &of(const Statement *) const { return statements; }
    const auto &of(const SubEventHandler *) const { return subEventHandlers; }
    const auto &of(const EventHandler *) const { return eventHandlers; }
};

/// Reads nodes: a present flag, the class tag, the class's own record.
class NodeReader : public RecordReader
{
public:
    NodeReader(QDataStream &stream, const NodeTables &tables, ProgramContext *program)
        : RecordReader(stream, program)
        , m_tables(tables)
    {}

    /// Records, nodes, values and lists of them, one after the other.
    void operator()(auto &...fields) { (read(fields), ...); }

    /// A count, and so many items. each reads one and says whether it stays.
    template <class Item, class Each>
    void list(std::vector<Item> &items, Each each)
    {
        const int count = readInt();
        for (int i = 0; i < count && isGood(); ++i) {
            Item item{};
            if (each(item)) {
                items.push_back(std::move(item));
            }
        }
    }
    /// A list in which none is missing: a node that is absent in the file is left out.
    template <class Item>
    void present(std::vector<Item> &items)
    {
        list(items, [this](Item &item) {
            read(item);
            return static_cast<bool>(item);
        });
    }
    /// What is there in any case: no flag, no tag.
    template <class Record>
    void record(std::unique_ptr<Record> &record)
    {
        record = std::make_unique<Record>();
        read(*record);
    }
    /// A flag, and what it tells of.
    template <class Record>
    void optional(std::unique_ptr<Record> &optional)
    {
        if (readBool()) {
            record(optional);
        }
    }
    /// A node that must be of one class; any other is dropped.
    template <class Node>
    void only(std::unique_ptr<typename Node::Family> &node)
    {
        node = nodeAs<Node>(readNode<typename Node::Family>());
    }
    /// A count, and tags with their records.
    template <class Base>
    void tagged(std::vector<std::unique_ptr<Base>> &nodes, const NodeTable<Base> &table)
    {
        list(nodes, [this, &table](std::unique_ptr<Base> &node) {
            node = table.read(readInt(), *this);
            return node != nullptr;
        });
    }

    void read(int &item) { item = readInt(); }
    void read(bool &item) { item = readBool(); }
    void read(double &item) { item = readDouble(); }
    void read(QString &item) { item = readText(); }
    void read(Device &device) { device.readFrom(*this); }
    void read(std::unique_ptr<Device> &device)
    {
        std::unique_ptr<BasicType> value = readValue(*this);
        device.reset(asDevice(value.get()) ? static_cast<Device *>(value.release()) : nullptr);
    }
    template <class Item>
    void read(std::vector<Item> &items)
    {
        list(items, [this](Item &item) {
            read(item);
            return true;
        });
    }
    template <TreeNode Node>
    void read(std::unique_ptr<Node> &node)
    {
        if constexpr (std::same_as<Node, typename Node::Family>) {
            node = readNode<Node>();
        } else {
            node = nodeAs<Node>(readNode<typename Node::Family>());
        }
    }
    template <class Record>
    requires requires(Record &record, NodeReader &reader) { Record::fields(record, reader); }
    void read(Record &record)
    {
        Record::fields(record, *this);
        if constexpr (requires { record.wasRead(); }) {
            record.wasRead();
        } else if constexpr (requires { record.wasRead(*program()); }) {
            record.wasRead(*program());
        }
    }

private:
    template <class Base>
    std::unique_ptr<Base> readNode()
    {
        const Nested nested(*this);
        if (!readBool()) {
            return nullptr;
        }
        const int tag = readInt();
        [[maybe_unused]] const int place = std::same_as<Base, Statement> ? ++m_statements : 0;
        std::unique_ptr<Base> node = m_tables.of(static_cast<const Base *>(nullptr)).read(tag, *this);
        if constexpr (std::same_as<Base, Statement>) {
            if (node) {
                node->place = place;
            }
        }
        return isGood() ? std::move(node) : nullptr;
    }

    const NodeTables &m_tables;
    int m_statements = 0; // so far
};

/// Writes the same, with the same words.
class NodeWriter : public RecordWriter
{
public:
    NodeWriter(QDataStream &stream, const NodeTables &tables)
        : RecordWriter(stream)
        , m_tables(tables)
    {}

    void operator()(const auto &...fields) { (write(fields), ...); }

    template <class Item, class Each>
    void list(const std::vector<Item> &items, Each each)
    {
        writeInt(static_cast<int>(items.size()));
        for (const Item &item : items) {
            each(item);
        }
    }
    template <class Item>
    void present(const std::vector<Item> &items)
    {
        write(items);
    }
    template <class Record>
    void record(const std::unique_ptr<Record> &record)
    {
        write(*record);
    }
    template <class Record>
    void optional(const std::unique_ptr<Record> &optional)
    {
        writeBool(optional != nullptr);
        if (optional) {
            record(optional);
        }
    }
    template <class Node>
    void only(const std::unique_ptr<typename Node::Family> &node)
    {
        write(node);
    }
    template <class Base>
    void tagged(const std::vector<std::unique_ptr<Base>> &nodes, const NodeTable<Base> &table)
    {
        list(nodes, [this, &table](const std::unique_ptr<Base> &node) {
            writeInt(node->typeTag());
            table.write(*this, *node);
        });
    }

    void write(int item) { writeInt(item); }
    void write(bool item) { writeBool(item); }
    void write(double item) { writeDouble(item); }
    void write(const QString &item) { writeText(item); }
    void write(const Device &device) { device.writeTo(*this); }
    void write(const std::unique_ptr<Device> &device) { writeValue(*this, device.get()); }
    template <class Item>
    void write(const std::vector<Item> &items)
    {
        list(items, [this](const Item &item) { write(item); });
    }
    template <TreeNode Node>
    void write(const std::unique_ptr<Node> &node)
    {
        writeBool(node != nullptr);
        if (node) {
            const typename Node::Family *const base = node.get();
            if constexpr (std::same_as<typename Node::Family, Statement>) {
                m_places.push_back(base->place);
            }
            writeInt(base->typeTag());
            m_tables.of(base).write(*this, *base);
        }
    }
    template <class Record>
    requires requires(const Record &record, NodeWriter &writer) { Record::fields(record, writer); }
    void write(const Record &record) { Record::fields(record, *this); }

    std::vector<int> takePlaces() { return std::move(m_places); } // of the statements, in the order of the file

private:
    const NodeTables &m_tables;
    std::vector<int> m_places;
};

/// The table of a family, from the list of its classes.
template <class Base, class... Nodes>
const NodeTable<Base> &nodeTable(NodeTypes<Base, Nodes...> types)
{
    using Row = typename NodeTable<Base>::Row;
    static constexpr auto kRows = types.template rows<Row>([]<class Node>() {
        return Row{ [](NodeReader &reader) -> std::unique_ptr<Base> {
                       auto node = std::make_unique<Node>();
                       reader.read(*node);
                       return node;
                   },
                    [](NodeWriter &writer, const Base &node) { writer.write(static_cast<const Node &>(node)); } };
    });
    static constexpr NodeTable<Base> kTable(types.kFirst, kRows);
    return kTable;
}
