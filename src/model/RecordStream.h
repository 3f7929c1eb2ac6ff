#pragma once
#include <QByteArray>
#include <QDataStream>
#include <QString>

class ProgramContext;

/// Reads the primitive items of program records. Past the end of the data, or nested too deeply, it is at fault:
/// every further item reads as zero and every loop over a count must stop (isGood).
/// Layouts: docs/formats/object-file.md.
class RecordReader
{
public:
    static constexpr int kMaxDepth = 1000; // nodes and values inside one another

    RecordReader(QDataStream &stream, ProgramContext *program)
        : m_stream(stream)
        , m_program(program)
    {}
    RecordReader(const RecordReader &) = delete;
    RecordReader &operator=(const RecordReader &) = delete;

    ProgramContext *program() const { return m_program; } // what is read belongs to it; nullptr: to none
    bool isGood() const { return !m_tooDeep && m_stream.status() == QDataStream::Ok; }

    qint32 readInt() { return read<qint32>(); }
    bool readBool() { return read<bool>(); }
    double readDouble() { return read<double>(); }
    QString readText() { return read<QString>(); }
    QByteArray readBytes() { return read<QByteArray>(); }

    /// Stands around the reading of one node or value, so that records inside records are counted.
    class Nested
    {
    public:
        explicit Nested(RecordReader &reader)
            : m_reader(reader)
        {
            m_reader.m_tooDeep = m_reader.m_tooDeep || ++m_reader.m_depth > kMaxDepth;
        }
        ~Nested() { --m_reader.m_depth; }
        Nested(const Nested &) = delete;
        Nested &operator=(const Nested &) = delete;

    private:
        RecordReader &m_reader;
    };

private:
    template <class Item>
    Item read()
    {
        Item item{};
        if (isGood()) {
            m_stream >> item;
        }
        return isGood() ? item : Item{};
    }

    QDataStream &m_stream;
    ProgramContext *m_program;
    int m_depth = 0;
    bool m_tooDeep = false;
};

/// Writes the same items.
class RecordWriter
{
public:
    explicit RecordWriter(QDataStream &stream)
        : m_stream(stream)
    {}

    void writeInt(qint32 value) { m_stream << value; }
    void writeBool(bool value) { m_stream << value; }
    void writeDouble(double value) { m_stream << value; }
    void writeText(const QString &text) { m_stream << text; }
    void writeBytes(const QByteArray &bytes) { m_stream << bytes; }

private:
    QDataStream &m_stream;
};
