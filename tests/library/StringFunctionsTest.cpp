#include "LibraryBench.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <limits>

class StringFunctionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void gives_data();
    void gives();
    void complains_data();
    void complains();
    void consumes_data();
    void consumes();
    void consumesWithoutCopyingTheRest();
    void formats_data();
    void formats();
    void survivesArgumentsThatChangeEachOther();
    void setsLengths();
};

void StringFunctionsTest::gives_data()
{
    // result: invalid: the built-in sets none
    const Table<QByteArray, QVariantList, QVariant> row("name", "arguments", "result");
    const QByteArray hello = "HELLO";
    row("length", "length_string", { hello }, 5.0);
    row("length of a number", "length_string", { 5 }, {});
    row("length of a number array", "length_array", { variable(numbers(IntegerType, { 300, 2 })) }, 2.0);
    row("maximum length", "max_length_string", { variable(text("abc", 32)) }, 32.0);
    row("unbounded", "max_length_array", { variable(text("abc")) }, 3.0);

    row("left", "left_string", { hello, 2 }, QByteArray("HE"));
    row("left by the integer rule", "left_string", { hello, 2.9999999999 }, QByteArray("HEL"));
    row("left of all", "left_string", { hello, 99 }, hello);
    row("left negative", "left_string", { hello, -1 }, QByteArray());
    row("left NaN", "left_string", { hello, kNan }, QByteArray());
    row("left of big numbers keeps low bytes", "left_string", { variable(numbers(IntegerType, { 0x141, 66 })), 2 },
        QByteArray("AB"));
    row("right", "right_string", { hello, 2 }, QByteArray("LO"));
    row("right of all", "right_string", { hello, 5 }, hello);
    row("right negative", "right_string", { hello, -3 }, QByteArray());

    row("mid to the end", "mid_string", { hello, 2 }, QByteArray("ELLO"));
    row("mid from 0", "mid_string", { hello, 0, 2 }, QByteArray("HE"));
    row("mid from 0 to the end", "mid_string", { hello, 0 }, hello);
    row("mid behind the end", "mid_string", { hello, 9, 2 }, QByteArray());
    row("mid right behind the end", "mid_string", { hello, 6 }, QByteArray());
    row("mid of nothing", "mid_string", { hello, 2, 0 }, QByteArray());
    row("mid with a negative count", "mid_string", { hello, 4, -1 }, QByteArray("LO"));
    row("mid infinity", "mid_string", { hello, kInfinity, kInfinity }, hello); // low 32 bits of the largest integer: -1

    row("find from a start", "find_string", { QByteArray("ABCABC"), QByteArray("C"), 4 }, 6.0);
    row("find nothing", "find_string", { QByteArray("ABC"), QByteArray("X") }, 0.0);
    row("find in the middle", "find_string", { QByteArray("AAB\0AAC", 7), QByteArray("\0AAC", 4) }, 4.0);
    row("find from below 1", "find_string", { QByteArray("ABC"), QByteArray("A"), -5 }, 1.0);
    row("find the empty string", "find_string", { QByteArray("ABC"), QByteArray(), 3 }, 3.0);
    row("find the empty string behind the end", "find_string", { QByteArray("ABC"), QByteArray(), 5 }, 0.0);
    row("find in the empty string", "find_string", { QByteArray(), QByteArray("A") }, 0.0);
    row("find what is longer", "find_string", { QByteArray("AB"), QByteArray("ABC") }, 0.0);

    row("wild card", "compare_string", { QByteArray("A?C"), QByteArray("ABC") }, 1.0);
    row("wild card on the right", "compare_string", { QByteArray("ABC"), QByteArray("??C") }, 1.0);
    row("different lengths", "compare_string", { QByteArray("AB"), QByteArray("ABC") }, 0.0);
    row("no array", "compare_string", { QByteArray("A"), 65 }, 0.0);
    row("missing argument", "compare_string", { QByteArray("A"), QVariant() }, 0.0);
    row("one argument", "compare_string", { QByteArray("A") }, {});

    row("lower", "lower_string", { QByteArray("AZ@[\xC0\xDE\xD7\xDF") }, QByteArray("az@[\xE0\xFE\xD7\xDF"));
    row("upper", "upper_string", { QByteArray("az`{\xE0\xFE\xF7\xFF\xB5") }, QByteArray("AZ`{\xC0\xDE\xF7\xFF\xB5"));
}

void StringFunctionsTest::gives()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, result);
    LibraryBench bench;
    QCOMPARE(bench.call(name.constData(), arguments), result);
    QCOMPARE(bench.messages, QStringList());
}

void StringFunctionsTest::complains_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QByteArray>("message"); // empty: silence
    const auto row = [](const char *name, const QVariantList &arguments, const QByteArray &message) {
        QTest::addRow("%s %d %s", name, arguments.size(), message.constData())
            << QByteArray(name) << arguments << message;
    };
    const QByteArray text = "abc";
    for (const char *name : { "length_string", "length_array", "max_length_string", "max_length_array", "left_string",
                              "right_string", "mid_string", "find_string", "remove_string", "lower_string",
                              "upper_string", "get_buffer_char", "get_buffer_string" }) {
        row(name, {}, QByteArray("Too less ").append(name).append(" function arguments"));
        row(name, { text, 1, 1, 1 }, QByteArray("Too many ").append(name).append(" function arguments"));
    }
    row("length_array", { 5 }, "Wrong length_array function argument");
    row("max_length_array", { 5 }, "");
    row("left_string", { 5, 1 }, "Wrong argument of left_string function");
    row("left_string", { text, variable(device(10001)) }, "Wrong argument of left_string function");
    row("right_string", { 5, 1 }, "the argument of right_string function is error");
    row("mid_string", { text, QVariant() }, "Wrong argument of mid_string function");
    row("find_string", { text, 98 }, "Wrong argument of find_string function");
    row("find_string", { text, text, variable(device(10001)) }, "Wrong argument of find_string function");
    row("remove_string", { 5, text }, "Wrong argument of remove_string function");
    row("upper_string", { 5 }, "Wrong argument of upper_string function");
    row("get_buffer_char", { 5 }, "argument of get_buffer_char function is error");
    row("get_buffer_string", { 5, 1 }, "argument of get_buffer_string function is error");
    row("set_length_string", { text }, "");
    row("compare_string", { text, text, text }, "");
    row("format", { QByteArray("%d") }, "Too less arguments for format function");
    row("format", { QByteArray("%d"), 1, 1 }, "Too many arguments for format function");
    row("format", { 5, 1 }, "Illegal format string");
    row("format", { QByteArray("%d"), variable(device(10001)) }, "Wrong data to format");
}

void StringFunctionsTest::complains()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, message);
    LibraryBench bench;
    QCOMPARE(bench.call(name.constData(), arguments), QVariant());
    QCOMPARE(bench.messages, message.isEmpty() ? QStringList() : QStringList(QString::fromLatin1(message)));
    bench.messages.clear();
    bench.callWithoutList(name.constData()); // nothing to check and nothing to say
    QCOMPARE(bench.messages, QStringList());
}

void StringFunctionsTest::consumes_data()
{
    const Table<QByteArray, QByteArray, QVariantList, QVariant, QByteArray> row("name", "buffer", "further", "result",
                                                                                "left");
    const QByteArray comma = ",";
    row("remove to the comma", "remove_string", "12,34", { comma, 1 }, QByteArray("12,"), "34");
    row("remove without start", "remove_string", "12,34", { comma }, QByteArray("12,"), "34");
    row("remove from the middle", "remove_string", "ab12,34", { comma, 3 }, QByteArray("12,"), "ab34");
    row("nothing to remove", "remove_string", "1234", { comma }, QByteArray(), "1234");
    row("before the start", "remove_string", "1,234", { comma, 3 }, QByteArray(), "1,234");
    row("start behind the end", "remove_string", "1,2", { comma, 99 }, QByteArray(), "1,2");
    row("remove nothing", "remove_string", "12", { QByteArray() }, QByteArray(), "12");
    row("remove all", "remove_string", "12,", { comma }, QByteArray("12,"), "");
    row("first character", "get_buffer_char", "xyz", {}, QByteArray("x"), "yz");
    row("none left", "get_buffer_char", "", {}, {}, "");
    row("more than there is", "get_buffer_string", "xyz", { 10 }, QByteArray("xyz"), "");
    row("truncated, not rounded", "get_buffer_string", "xyz", { 1.9999999999999 }, QByteArray("x"), "yz");
    row("negative count", "get_buffer_string", "xyz", { -2 }, QByteArray(), "xyz");
    row("no finite count", "get_buffer_string", "xyz", { kInfinity }, QByteArray("xyz"), "");
}

void StringFunctionsTest::consumes()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, buffer);
    QFETCH(QVariantList, further);
    QFETCH(QVariant, result);
    QFETCH(QByteArray, left);
    LibraryBench bench;
    const ValueRef packed = text(buffer, 64);
    QCOMPARE(bench.call(name.constData(), QVariantList{ variable(packed) } + further), result);
    QCOMPARE(bytesOf(packed), left);
    QCOMPARE(static_cast<Array &>(*packed).maxLength(), 64);

    std::vector<double> elements(buffer.begin(), buffer.end()); // the same in an array that is not packed as bytes
    const ValueRef wide = numbers(IntegerType, elements);
    QCOMPARE(bench.call(name.constData(), QVariantList{ variable(wide) } + further), result);
    QCOMPARE(bytesOf(wide), left);
    QCOMPARE(bench.messages, QStringList());
}

void StringFunctionsTest::consumesWithoutCopyingTheRest()
{
    LibraryBench bench;
    const QByteArray line = "VOL=12\r\n";
    const ValueRef buffer = text(line.repeated(8192));
    const char *lastByte = nullptr;
    for (int i = 0; i < 8192; ++i) {
        QByteArray hold;
        const std::string_view bytes = static_cast<Array &>(*buffer).bytes(hold);
        const char *end = bytes.data() + bytes.size();
        QVERIFY(i == 0 || end == lastByte); // what is left has not moved
        lastByte = end;
        QCOMPARE(bench.call("remove_string", { variable(buffer), QByteArray("\r\n") }), QVariant(line));
    }
    QCOMPARE(bytesOf(buffer), QByteArray());
}

void StringFunctionsTest::formats_data()
{
    QTest::addColumn<QByteArray>("pattern");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("result"); // invalid: illegal
    const auto row = [](const char *pattern, int typeCode, double value, const QVariant &result) {
        QTest::addRow("%.40s of %d %g", pattern, typeCode, value)
            << QByteArray(pattern) << number(typeCode, value) << result;
    };
    row("%05.1f", DoubleType, 3.14159, QByteArray("003.1"));
    row("%X", IntegerType, 255, QByteArray("FF"));
    row("%d", IntegerType, 4294967295.0, QByteArray("-1")); // passed unsigned, read signed
    row("%u", IntegerType, 4294967295.0, QByteArray("4294967295"));
    row("%d", SIntegerType, -7, QByteArray("-7"));
    row("%x", SIntegerType, -1, QByteArray("ffffffff"));
    row("%lld", SLongType, -5e15, QByteArray("-5000000000000000"));
    row("%u", LongType, 5e15, QByteArray("5000000000000000"));
    row("%hhd", IntegerType, 511, QByteArray("-1"));
    row("%d", CharType, 200, QByteArray("200"));
    row("%c", CharType, 65, QByteArray("A"));
    row("%c", CharType, 0xE9, QByteArray("\xC3\xA9"));
    row("%.2e", FloatType, 1.5, QByteArray("1.50e+00"));
    row("100%% of %+d|%-4d", SIntegerType, 5, {}); // two conversions
    row("100%% of %+d|%%", SIntegerType, 5, QByteArray("100% of +5|%"));
    row("\xE9 %d", SIntegerType, 5, QByteArray("\xC3\xA9 5"));
    row("%d", DoubleType, 5, {});
    row("%f", IntegerType, 5, {});
    row("%s", IntegerType, 5, {});
    row("%n", IntegerType, 5, {});
    row("%p", LongType, 5, {});
    row("%*d", SIntegerType, 5, {});
    row("%.*f", DoubleType, 5, {});
    row("%2$d", SIntegerType, 5, {});
    row("%99999999d", SIntegerType, 5, {});
    row("%.99999999999999999999f", DoubleType, 5, {});
    row("%", SIntegerType, 5, {});
    row("%-05", SIntegerType, 5, {});
    row("no conversion", SIntegerType, 5, {});
    row("%lllld", SIntegerType, 5, {});
}

void StringFunctionsTest::formats()
{
    QFETCH(QByteArray, pattern);
    QFETCH(QVariant, value);
    QFETCH(QVariant, result);
    LibraryBench bench;
    QCOMPARE(bench.call("format", { pattern, value }), result);
    QCOMPARE(bench.messages.join(QLatin1Char('|')),
             result.isValid() ? QString() : QStringLiteral("Illegal format string"));
}

void StringFunctionsTest::survivesArgumentsThatChangeEachOther()
{
    // Evaluating any argument empties the buffer and fills it anew, as a function called there could.
    for (const char *name : { "find_string", "compare_string", "left_string", "mid_string", "remove_string",
                              "max_value", "get_buffer_string", "MD5_VALUE", "bss_make_cmd" }) {
        LibraryBench bench;
        const ValueRef buffer = text(QByteArray(100, 'x'));
        int round = 0;
        bench.beforeEveryEvaluation = [&buffer, &round] {
            auto &array = static_cast<Array &>(*buffer);
            array.clearElements();
            array.assignBytes(std::string(static_cast<size_t>(50 * ++round), 'y'));
        };
        const QVariant argument = variable(buffer);
        bench.call(name, { argument, argument });
        bench.call(name, { argument, argument, argument });
        bench.call(name, { argument, argument, argument, argument });
        QCOMPARE(static_cast<Array &>(*buffer).length() <= 50 * round, true);
    }
}

void StringFunctionsTest::setsLengths()
{
    LibraryBench bench;
    const ValueRef bounded = text("abcdef", 8);
    const auto lengthAfter = [&bench](const ValueRef &value, double length) {
        bench.call("set_length_string", { variable(value), length });
        return static_cast<Array &>(*value).length();
    };
    QCOMPARE(lengthAfter(bounded, 2.9999999999999), 2);
    QCOMPARE(bytesOf(bounded), QByteArray("ab"));
    QCOMPARE(lengthAfter(bounded, 4), 4);
    QCOMPARE(bytesOf(bounded), QByteArray("abcd")); // what stood behind the length is still there
    QCOMPARE(lengthAfter(bounded, 1e300), 8);
    QCOMPARE(lengthAfter(bounded, -5), 0);
    QCOMPARE(lengthAfter(text("abc"), kInfinity), 1 << 24);
    QCOMPARE(lengthAfter(bounded, kNan), 0);
}

TEST_CLASS(StringFunctionsTest)
#include "StringFunctionsTest.moc"
