#include "model/Values.h"
#include "support/Table.h"
#include "support/TestClass.h"

namespace {
std::unique_ptr<Array> numbers(int typeCode, const std::vector<double> &values, int maxLength = 0)
{
    auto array = std::make_unique<Array>(typeCode);
    for (size_t i = 0; i < values.size(); ++i) {
        array->setElement(static_cast<int>(i) + 1, std::make_unique<Double>(values[i], typeCode));
    }
    array->setLength(static_cast<int>(values.size()));
    array->setMaxLength(maxLength);
    return array;
}

QByteArray shown(const BasicType &value)
{
    QByteArray text;
    if (const Double *number = asDouble(&value)) {
        return QByteArray::number(number->value());
    }
    if (const Array *array = asArray(&value)) {
        for (int i = 1; i <= array->length(); ++i) {
            const ValueView element = array->view(i);
            text += (i > 1 ? " " : "") + (element.isNumber() ? QByteArray::number(element.number)
                                          : element.object   ? "(" + shown(*element.object) + ")"
                                                             : QByteArray("-"));
        }
    }
    return text;
}
} // namespace

Q_DECLARE_METATYPE(std::shared_ptr<BasicType>)

class ArrayTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readsNumbersByType_data();
    void readsNumbersByType();
    void keepsHolesWhateverThePacking();
    void staysInsideItsBounds();
    void copies_data();
    void copies();
    void makesRowsLikeTheFirst();
    void consumesFromTheFront();
    void survivesARecord();
    void sparseIndexTakesNoMemory();
};

void ArrayTest::readsNumbersByType_data()
{
    const Table<int, double, double> row("type", "stored", "read");
    row("INTEGER wraps below 0", int(IntegerType), -1.0, 4294967295.0);
    row("INTEGER keeps its largest", int(IntegerType), 4294967295.0, 4294967295.0);
    row("INTEGER wraps above", int(IntegerType), 4294967296.0, 0.0);
    row("INTEGER truncates", int(IntegerType), 2.7, 2.0);
    row("CHAR wraps", int(CharType), 300.0, 44.0);
    row("SINTEGER is nudged up", int(SIntegerType), 2.99999999995, 3.0);
    row("SINTEGER truncates toward 0", int(SIntegerType), -2.5, -2.0);
    row("SINTEGER wraps", int(SIntegerType), 2147483648.0, -2147483648.0);
    row("WIDECHAR", int(WideCharType), -1.0, 65535.0);
    row("LONG of a negative", int(LongType), -1.0, 18446744073709551615.0);
    row("SLONG saturates", int(SLongType), 1e30, 9223372036854775807.0);
    row("FLOAT rounds", int(FloatType), 0.1, static_cast<double>(0.1f));
    row("DOUBLE is exact", int(DoubleType), 0.1, 0.1);
    row("not a number as INTEGER", int(IntegerType), std::nan(""), 0.0);
}

void ArrayTest::readsNumbersByType()
{
    QFETCH(int, type);
    QFETCH(double, stored);
    QFETCH(double, read);
    Double number(0, type);
    number.setValue(stored);
    QCOMPARE(number.value(), read);
    const std::unique_ptr<Array> packed = numbers(type, { stored });
    QCOMPARE(packed->view(1).number, read);
}

void ArrayTest::keepsHolesWhateverThePacking()
{
    for (const int type : { int(CharType), int(IntegerType), int(DeviceType) }) {
        Array array(type);
        array.setMaxLength(10);
        QVERIFY(array.place(5));
        QVERIFY(array.hasElement(5));
        QVERIFY(!array.hasElement(3));
        QVERIFY(array.place(3)); // made on the first access, also by a read
        QVERIFY(array.hasElement(3));
        QVERIFY(!array.hasElement(4));
        QCOMPARE(array.length(), 0); // access moves no length
    }
    // What is missing is no byte; what is there behind the length does not count either.
    Array text(CharType);
    text.setMaxLength(10);
    assignValue(text.place(2), ValueView::ofNumber('b', CharType));
    assignValue(text.place(4), ValueView::ofNumber('d', CharType));
    text.setLength(3);
    QCOMPARE(text.toBytes(), QByteArray("b"));
    text.setLength(4);
    QCOMPARE(text.toBytes(), QByteArray("bd"));
}

void ArrayTest::staysInsideItsBounds()
{
    Array array(IntegerType);
    array.setMaxLength(3);
    for (const int outside : { 0, -1, 4, std::numeric_limits<int>::min(), std::numeric_limits<int>::max() }) {
        QVERIFY(!array.place(outside));
        QVERIFY(array.view(outside).isNone());
        QVERIFY(!array.hasElement(outside));
    }
    QCOMPARE(array.capacity(), 3);
}

void ArrayTest::copies_data()
{
    const Table<std::shared_ptr<BasicType>, std::shared_ptr<BasicType>, QByteArray> row("to", "from", "result");
    using Value = std::shared_ptr<BasicType>;
    const auto number = [](double value, int type) { return Value(std::make_shared<Double>(value, type)); };
    const auto text = [](const char *bytes) { return Value(Array::ofBytes(bytes)); };
    const auto bounded = [](int size) {
        auto array = std::make_shared<Array>(CharType);
        array->setMaxLength(size);
        return Value(array);
    };
    row("text cut to the size", bounded(2), text("abc"), "97 98");
    row("text to number: the first byte", number(7, IntegerType), text("abc"), "97");
    row("empty text leaves a number", number(7, IntegerType), text(""), "7");
    row("number to array: one element, of its own type", text("abc"), number(300, IntegerType), "300");
    row("INTEGERs into CHARs wrap", bounded(5), Value(numbers(IntegerType, { 300, 65 })), "44 65");
    row("CHARs into DOUBLEs", Value(numbers(DoubleType, { 1, 2, 3 })), text("AB"), "65 66");
    row("an unbounded array grows", Value(std::make_shared<Array>(CharType)), text("abc"), "97 98 99");
}

void ArrayTest::copies()
{
    QFETCH(std::shared_ptr<BasicType>, to);
    QFETCH(std::shared_ptr<BasicType>, from);
    QFETCH(QByteArray, result);
    assignValue(*to, *from);
    QCOMPARE(shown(*to), result);
    // The same through objects in place of packed elements.
    if (Array *array = asArray(from.get())) {
        const std::unique_ptr<BasicType> copy = array->clone();
        QCOMPARE(shown(*copy), shown(*array));
    }
}

void ArrayTest::makesRowsLikeTheFirst()
{
    Array matrix(IntegerType);
    matrix.setMaxLength(4);
    auto row = std::make_unique<Array>(IntegerType);
    row->setMaxLength(8);
    matrix.setElement(1, std::move(row));
    assignValue(asArray(matrix.place(1).object)->place(1), ValueView::ofNumber(9, IntegerType));

    Array *third = asArray(matrix.place(3).object);
    QVERIFY(third);
    QCOMPARE(third->maxLength(), 8); // every row can be filled
    QCOMPARE(third->length(), 0);
    QCOMPARE(third->view(1).number, 0.0); // and starts anew
    QVERIFY(third->place(8));
    QVERIFY(!third->place(9));
    QVERIFY(!matrix.place(5));

    // A number stored where a row stands goes into the row.
    matrix.setElement(3, std::make_unique<Double>(5, IntegerType));
    QCOMPARE(asArray(matrix.object(3))->view(3).number, 5.0);
}

void ArrayTest::consumesFromTheFront()
{
    Array buffer(CharType);
    buffer.setMaxLength(100000);
    QByteArray expected;
    for (int round = 0; round < 3000; ++round) {
        const QByteArray piece = QByteArray::number(round) + ';';
        buffer.appendBytes({ piece.constData(), static_cast<size_t>(piece.size()) });
        expected += piece;
        if (round % 3 == 0) {
            buffer.dropFront(7);
            expected.remove(0, 7);
        }
        QCOMPARE(buffer.length(), expected.size());
    }
    QCOMPARE(buffer.toBytes(), expected);
    buffer.dropFront(1000000);
    QCOMPARE(buffer.length(), 0);
    buffer.appendBytes("x");
    QCOMPARE(buffer.toBytes(), QByteArray("x"));
}

void ArrayTest::survivesARecord()
{
    Array list(IntegerType);
    list.setElement(1, std::make_unique<Double>(5, IntegerType));
    list.setElement(2, std::make_unique<Double>(2.5, DoubleType)); // an element of a type of its own
    list.setElement(3, Array::ofBytes("ab"));
    list.setLength(3);
    list.setName(Name(QStringLiteral("list")));
    Array read;
    readRecord(read, recordOf(list));
    QCOMPARE(shown(read), QByteArray("5 2.5 (97 98)"));
    QCOMPARE(read.name().text(), QStringLiteral("LIST"));
    // A cut record gives no more than what is there, and takes no memory for what is announced.
    QByteArray cut = recordOf(list);
    cut.truncate(cut.size() - 20);
    Array half;
    readRecord(half, cut);
    QCOMPARE(half.length(), 0);
}

void ArrayTest::sparseIndexTakesNoMemory()
{
    for (const int type : { int(CharType), int(IntegerType), int(DeviceType) }) {
        Array array(type);
        array.setMaxLength(std::numeric_limits<int>::max());
        QVERIFY(array.place(2'000'000'000));
        QVERIFY(array.place(1));
        array.setLength(2'000'000'000);
        QVERIFY(array.hasElement(2'000'000'000));
        QVERIFY(!array.hasElement(1'999'999'999));
        QCOMPARE(array.toBytes().size(), type == DeviceType ? 0 : 2);
    }
}

TEST_CLASS(ArrayTest)
#include "ArrayTest.moc"
