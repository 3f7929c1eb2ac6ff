#include "LibraryBench.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QProcess>
#include <QRandomGenerator>

#include <cmath>
#include <limits>

/// Numbers to text and back, arithmetic, dates and times, checksums, audio frames: what only computes.
class ConversionFunctionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void gives_data();
    void gives();
    void complains_data();
    void complains();
    void forgetsTheLastResult();
    void buildsAudioFrames_data();
    void buildsAudioFrames();
    void comesBackTheSame();
    void agreesWithPython();
    void drawsRandomNumbers();
};

namespace {
QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}
} // namespace

void ConversionFunctionsTest::gives_data()
{
    const Table<QByteArray, QVariantList, QVariant> row("name", "arguments", "result");
    const auto bytes = [](const char *text) { return QVariantList{ QByteArray(text) }; };

    row("atoi", bytes("VOL=-12dB"), -12.0);
    row("atoi", bytes("+7 and 8"), 7.0);
    row("atoi", bytes("abc-+"), 0.0);
    row("atoi", bytes("--5"), -5.0);
    row("atoi", bytes("2147483648"), 0.0);
    row("atoi", bytes("-2147483648"), -2147483648.0);
    row("atoi", { 53 }, 5.0); // one byte, the digit 5
    row("atoi", {}, 0.0);
    row("atol", bytes("99999999999 1"), 0.0);
    row("atof", bytes("3.25V"), 3.25);
    row("atof", bytes(".5"), 5.0);
    row("atof", bytes("-7.x"), -7.0);
    row("atof", bytes("1e5"), 1.0);
    row("atof", bytes("1.2.3"), 1.2);
    row("atof", bytes(""), 0.0);
    row("atof", { QByteArray(400, '9') }, kInfinity);
    row("hextoi", bytes("fF"), 255.0);
    row("hextoi", bytes("0xFF"), 0.0);
    row("hextoi", bytes("FFFFFFFFFFFFFFFF"), 18446744073709551615.0);
    row("hextoi", bytes("10000000000000000"), 0.0);
    row("hextoi", bytes("-1"), 0.0);
    row("hextoi", bytes(""), 0.0);

    row("itoa", { 4294967296.0 }, QByteArray("4294967296"));
    row("itoa", { -2.9999999999 }, QByteArray("-3"));
    row("itoa", { kNan }, QByteArray("0"));
    row("itoa", { kInfinity }, QByteArray("9223372036854775807"));
    row("itoa", { -kInfinity }, QByteArray("-9223372036854775808"));
    row("itohex", { 255 }, QByteArray("FF"));
    row("itohex", { -1 }, QByteArray("FFFFFFFFFFFFFFFF"));
    row("itohex", { 0 }, QByteArray("0"));
    row("ftoa", { 3.5 }, QByteArray("3.500000"));
    row("ftoa", { 0 }, QByteArray("0.000000E+00"));
    row("ftoa", { 2500000 }, QByteArray("2.500000E+06"));
    row("ftoa", { 999999.5 }, QByteArray("999999.500000"));
    row("ftoa", { 0.00005 }, QByteArray("5.000000E-05"));
    row("ftoa", { -1e200 }, QByteArray("-1.000000E+200"));

    row("type_cast", { number(IntegerType, 7) }, 7.0);
    row("type_cast", { QByteArray("AB") }, 65.0);
    row("type_cast", { QByteArray() }, 0.0);
    row("type_cast", { variable(device(10001)) }, 0.0);
    row("ch_to_wc", { QByteArray("A\xE9") }, QByteArray("A\xE9"));
    row("wc_to_ch", { variable(numbers(WideCharType, { 0x4E41, 66 })) }, QByteArray("AB"));
    row("raw_be", { number(IntegerType, 258) }, hex("00000102"));
    row("raw_le", { number(IntegerType, 258) }, hex("02010000"));
    row("raw_be", { number(SIntegerType, -2) }, hex("fffffffe"));
    row("raw_be", { number(SLongType, -2) }, hex("fffffffffffffffe"));
    row("raw_be", { number(LongType, -1) }, hex("ffffffffffffffff"));
    row("raw_be", { number(LongType, 9223372036854775808.0) }, hex("8000000000000000"));
    row("raw_be", { number(WideCharType, 0x4E41) }, hex("4e41"));
    row("raw_be", { number(FloatType, 1) }, hex("3f800000"));
    row("raw_le", { 1 }, hex("000000000000f03f"));
    row("raw_be", { QByteArray("AB") }, QByteArray("A"));
    row("raw_be", {}, QByteArray());
    row("raw_be", { variable(device(10001)) }, QByteArray());
    row("float_to_array", { 1 }, hex("3f800000"));
    row("double_to_array", { -2 }, hex("c000000000000000"));
    row("float_to_array", { 1e300 }, hex("7f800000"));
    row("array_to_float", { hex("3f800000") }, 1.0);
    row("array_to_float", { variable(numbers(IntegerType, { 0x13F, 128, 0, 0, 7 })) }, 1.0);
    row("array_to_float", { hex("3f8000") }, {});
    row("array_to_double", { hex("c000000000000000") }, -2.0);
    row("array_to_double", { 5 }, {});

    row("abs_value", { -2.5 }, 2.5);
    row("abs_value", {}, 0.0);
    row("abs_value", { variable(device(10001)) }, {});
    row("max_value", { 3, 3 }, 3.0);
    row("max_value", { -3 }, 0.0);
    row("min_value", { -3, 2 }, -3.0);
    row("exp_value", { 0 }, 1.0);
    row("log_value", { 1 }, 0.0);
    row("log10_value", { 1000 }, 3.0);
    row("log_value", { 0 }, -kInfinity);
    row("sqrt_value", { 81 }, 9.0);
    row("sin_value", { 0 }, 0.0);
    row("cos_value", { 0 }, 1.0);
    row("power_value", { 2, 10 }, 1024.0);

    row("date_to_day", bytes("12/25/00"), 25.0);
    row("date_to_year", bytes("12/25/00"), 2000.0);
    row("date_to_year", bytes("01/01/99"), 2099.0);
    row("date_to_month", bytes("13/01/20"), 0.0);
    row("date_to_day", bytes("02/29/00"), 29.0);
    row("date_to_day", bytes("02/29/01"), 0.0);
    row("date_to_day", bytes("2/9/20"), 0.0);
    row("date_to_day", bytes("12-25-00"), 0.0);
    row("day_of_week", bytes("03/12/20"), 4.0);
    row("day_of_week", {}, 0.0);
    row("time_to_hour", bytes("23:59:58"), 23.0);
    row("time_to_minute", bytes("08:30"), 30.0);
    row("time_to_second", bytes("08:30"), 0.0);
    row("time_to_hour", bytes("25:00:00"), {});
    row("time_to_hour", bytes("08:30:"), {});
    row("time_to_second", bytes("08:30:60"), {});

    row("modbus_crc16", { hex("01030000000a") }, 52677.0);
    row("modbus_crc16", bytes("123456789"), 19255.0);
    row("modbus_crc16", { QByteArray() }, 65535.0);
    row("MD5_VALUE", bytes("abc"), QByteArray("900150983CD24FB0D6963F7D28E17F72"));
    row("MD5_VALUE", { QByteArray("abc"), 16 }, hex("900150983cd24fb0d6963f7d28e17f72"));
    row("array_to_base64", bytes("abcd"), QByteArray("YWJjZA=="));
    row("base64_to_array", bytes("YW*Jj\r\nZA=="), QByteArray("abcd"));
}

void ConversionFunctionsTest::gives()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, result);
    LibraryBench bench;
    QCOMPARE(bench.call(name.constData(), arguments), result);
    QCOMPARE(bench.messages, QStringList());
}

void ConversionFunctionsTest::complains_data()
{
    const Table<QByteArray, QVariantList, QString> row("name", "arguments", "message");
    const QVariant noNumber = variable(device(10001));
    row("itoa", {}, "Too less itoa function arguments");
    row("ftoa", { 1, 2 }, "Too many ftoa function arguments");
    row("itohex", { noNumber }, "Wrong itohex function argument");
    row("hextoi", { 16 }, "Wrong hextoi function argument");
    row("type_cast", {}, "Tool less type_cast function arguments");
    row("type_cast", { 1, 2 }, "Too may type_cast function arguments");
    row("exp_value", { noNumber }, "Wrong exp_value function argument");
    row("log_value", { 1, 2 }, "Too many log_value function arguments");
    row("sqrt_value", {}, "Too less sqrt_value function arguments");
    row("power_value", { 1 }, "Too less power_value function arguments");
    row("power_value", { 1, 2, 3 }, "Two many power_value function arguments");
    row("power_value", { 1, noNumber }, "Wrong power_value function argument");
    row("sin_value", {}, "Too less sin function arguments");
    row("sin_value", { 1, 2 }, "Too many sin function arguments");
    row("cos_value", { noNumber }, "Wrong cos function argument");
    row("time_to_hour", { QByteArray("08:00"), 1 }, "Too many time_to_hour function arguments");
    row("time_to_second", { 8 }, "argument of time_to_second function is error");
}

void ConversionFunctionsTest::complains()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, message);
    LibraryBench bench;
    QCOMPARE(bench.call(name.constData(), arguments), QVariant());
    QCOMPARE(bench.messages, QStringList(message));
}

void ConversionFunctionsTest::forgetsTheLastResult()
{
    LibraryBench bench;
    QCOMPARE(bench.call("length_string", { QByteArray("abc") }), QVariant(3.0));
    QCOMPARE(bench.call("LENGTH_STRING", {}), QVariant());
    QCOMPARE(bench.messages, QStringList(QStringLiteral("Too less length_string function arguments")));
    QCOMPARE(bench.callWithoutList(" Length_String "), QVariant());
    QCOMPARE(bench.messages.size(), 1);
}

void ConversionFunctionsTest::buildsAudioFrames_data()
{
    const Table<QByteArray, QVariantList, QVariant> row("name", "arguments", "result");
    const QByteArray address = "0A1B03000100";
    row("0 dB", "bss_gain_value", { 0 }, 0.0);
    row("+6 dB", "bss_gain_value", { 6 }, 60000.0);
    row("-10 dB", "bss_gain_value", { -10 }, 4294967296.0 - 100000);
    row("-20 dB", "bss_gain_value", { -20 }, 4294807091.0);
    row("-80 dB", "bss_gain_value", { -80 }, 4294967296.0 - 280617);
    row("gain of infinity", "bss_gain_value", { kInfinity }, 2147483647.0);
    row("gain of NaN", "bss_gain_value", { kNan }, 0.0);
    row("raw command", "bss_make_cmd", { 0x88, address, 0, -160205 }, hex("02880a1b0300010000 00fffd8e3324 03"));
    row("volume", "bss_gain_mono_vol", { address, -20 }, hex("02880a1b9b1b83000100 0000fffd8e3324 03"));
    row("mute", "bss_gain_mono_mute", { QByteArray("000000000000"), 1 }, hex("0288000000000000 0001 00000001 88 03"));
    row("input 3", "bss_gain_ninput_vol", { QByteArray("000000000000"), 3, 0 },
        hex("0288000000000000 001b82 00000000 8a 03"));
    row("master", "bss_gain_ninput_vol", { QByteArray("000000000000"), 0, 0 },
        hex("0288000000000000 0060 00000000 e8 03"));
    row("mute of input 1", "bss_gain_ninput_mute", { QByteArray("000000000000"), 1, 1 },
        hex("0288000000000000 0020 00000001 a9 03"));
    row("mute of the master", "bss_gain_ninput_mute", { QByteArray("000000000000"), 0, 1 },
        hex("0288000000000000 0061 00000001 e8 03"));
    row("source matrix", "bss_source_matrix", { QByteArray("000000000000"), 2, 7 },
        hex("0288000000000000 0001 00000007 8e 03"));
    row("source selector", "bss_source_selector", { QByteArray("000000000000"), 4 },
        hex("0288000000000000 0000 00000004 8c 03"));
    row("router", "bss_matrix_router", { QByteArray("000000000000"), 3, 2, 9 },
        hex("0288000000000000 0082 00000001 0b 03"));
    row("meter", "bss_meter_trigger_meter", { QByteArray("000000000000") },
        hex("0289000000000000 0000 00000000 89 03"));
    row("preset", "bss_para_preset", { 5 }, hex("028c 00000005 89 03"));
    row("venue", "bss_venue_preset", { 0x102 }, hex("028b 0000011b82 88 03"));
    row("11 digits", "bss_gain_mono_vol", { address.left(11), 0 }, {});
    row("no digits", "bss_gain_mono_vol", { QByteArray("0A1B0300010G"), 0 }, {});
    row("no value", "bss_gain_mono_vol", { address }, {});
    row("escape", "bss_escape_cmd", { hex("02881503") }, hex("02881b9503"));
    row("escape two bytes", "bss_escape_cmd", { hex("0000") }, hex("0203"));
    row("escape one byte", "bss_escape_cmd", { hex("02") }, QByteArray());
    row("unescape", "bss_unescape_cmd", { hex("02881b951b1b9b03") }, hex("0288151b1b03"));
    row("unescape a cut frame", "bss_unescape_cmd", { hex("021b") }, hex("021b"));
}

void ConversionFunctionsTest::buildsAudioFrames()
{
    gives();
}

void ConversionFunctionsTest::comesBackTheSame()
{
    LibraryBench bench;
    QRandomGenerator random(7);
    for (int round = 0; round < 300; ++round) {
        QByteArray data(round % 40, 0);
        for (char &byte : data) {
            byte = static_cast<char>(random.bounded(256));
        }
        const QByteArray frame = '\x02' + data + '\x03';
        const QByteArray escaped = bench.call("bss_escape_cmd", { frame }).toByteArray();
        QCOMPARE(bench.call("bss_unescape_cmd", { escaped }), QVariant(frame));
        QVERIFY(!escaped.mid(1, escaped.size() - 2).contains('\x03'));

        const double number = random.generateDouble() * std::pow(10, round % 30 - 15);
        QCOMPARE(bench.call("array_to_double", { bench.call("double_to_array", { number }) }), QVariant(number));
        const auto single = static_cast<double>(static_cast<float>(number));
        QCOMPARE(bench.call("array_to_float", { bench.call("float_to_array", { number }) }), QVariant(single));
        const double whole = random.bounded(1 << 30);
        QCOMPARE(bench.call("atoi", { bench.call("itoa", { -whole }) }), QVariant(-whole));
        QCOMPARE(bench.call("hextoi", { bench.call("itohex", { whole }) }), QVariant(whole));
    }
}

void ConversionFunctionsTest::agreesWithPython()
{
    // One line of hexadecimal bytes in; MD5, Modbus CRC (bytes first to last, each bit reflected) and Base64 out.
    const QString script = QStringLiteral(R"(
import base64, hashlib, sys
for line in sys.stdin:
    data = bytes.fromhex(line)
    register = int("1" * 16, 2)
    for bit in (byte >> place & 1 for byte in data for place in range(8)):
        register = register // 2 ^ (0xA001 if register % 2 != bit else 0)
    print(hashlib.md5(data).hexdigest().upper(), register, base64.b64encode(data).decode())
)");
    LibraryBench bench;
    QRandomGenerator random(11);
    std::vector<QByteArray> inputs;
    QByteArray lines;
    for (int length = 1; length <= 2000; length = length < 140 ? length + 1 : length * 5 / 4) {
        QByteArray data(length, 0);
        std::generate(data.begin(), data.end(), [&random] { return static_cast<char>(random.bounded(256)); });
        lines += data.toHex() + '\n';
        inputs.push_back(data);
    }
    QProcess python;
    python.start(QStringLiteral("python3"), { QStringLiteral("-c"), script });
    python.write(lines);
    python.closeWriteChannel();
    QVERIFY(python.waitForFinished());
    for (const QByteArray &data : inputs) {
        const QByteArrayList expected = python.readLine().trimmed().split(' ');
        QCOMPARE(expected.size(), 3);
        QCOMPARE(bench.call("MD5_VALUE", { data }), QVariant(expected.at(0)));
        QCOMPARE(bench.call("modbus_crc16", { data }), QVariant(expected.at(1).toDouble()));
        QCOMPARE(bench.call("array_to_base64", { data }), QVariant(expected.at(2)));
        QCOMPARE(bench.call("base64_to_array", { expected.at(2) }), QVariant(data));
    }
}

void ConversionFunctionsTest::drawsRandomNumbers()
{
    LibraryBench bench;
    QSet<double> seen;
    for (int i = 0; i < 300; ++i) {
        seen.insert(bench.call("random_number", { 6 }).toDouble());
        QVERIFY(bench.call("random_number", { -6 }).toDouble() >= 0);
    }
    QCOMPARE(seen, (QSet<double>{ 0, 1, 2, 3, 4, 5 }));
    QCOMPARE(bench.call("random_number", { 0 }), QVariant(0.0));
}

TEST_CLASS(ConversionFunctionsTest)
#include "ConversionFunctionsTest.moc"
