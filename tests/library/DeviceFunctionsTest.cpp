#include "LibraryBench.h"
#include "base/Clock.h"
#include "base/SystemNumber.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <limits>

/// What reaches beyond the values: panels, device groups, events, timelines, the stores.
class DeviceFunctionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tellsPanels_data();
    void tellsPanels();
    void asksPanels_data();
    void asksPanels();
    void complains_data();
    void complains();
    void combinesDevices();
    void uncombinesDevices();
    void pushesInOrder();
    void findsTheLastInput_data();
    void findsTheLastInput();
    void keepsNamedValues();
    void setsThePulseTime();
    void keepsTheTime();
    void knowsItsController();
    void createsTimelines_data();
    void createsTimelines();
    void steersTimelines();
};

namespace {
const QVariant panel = variable(device(10001));
const QByteArray visible = "Visible";

QVariant channelList(const std::vector<double> &channels)
{
    return variable(numbers(IntegerType, channels));
}
} // namespace

void DeviceFunctionsTest::tellsPanels_data()
{
    // call: empty: none
    const Table<QByteArray, QVariantList, QString> row("name", "arguments", "call");
    row("channels", "set_button_property", { panel, channelList({ 1, 2, 300 }), visible, 0 },
        "button 10001 1,2,300 visible qlonglong 0");
    row("text", "set_button_property", { panel, 5, QByteArray("ListItems"), QByteArray("a;b") },
        "button 10001 5 listitems QByteArray a;b");
    row("state", "set_button_state_property", { panel, 5, 2, QByteArray("text"), QByteArray("Hi") },
        "state 10001 5 2 text QByteArray Hi");
    row("number by the integer rule", "set_button_state_property", { panel, 5, 1, QByteArray("opacity"), 2.9999999999 },
        "state 10001 5 1 opacity qlonglong 3");
    row("page", "set_page_property", { panel, QByteArray("Main"), QByteArray("desc"), QByteArray("X") },
        "page 10001 Main desc QByteArray X");
    row("container", "set_container_property", { panel, channelList({ 7, 8 }), QByteArray("Any"), QByteArray("d") },
        "container 10001 7,8 Any d");
    row("method", "container_call", { panel, 7, QByteArray("Scroll"), QByteArray("3") }, "call 10001 7 Scroll 3");
    row("method without data", "container_call", { panel, 7, QByteArray("Scroll") }, "call 10001 7 Scroll ");
    row("URL", "url_open", { panel, QByteArray("http://a") }, "command 10001:1:0 url-http://a");
    row("sound", "play_sound", { panel, QByteArray("ding") }, "command 10001:1:0 play-ding");
    row("process", "process_start", { panel, QByteArray("calc") }, "command 10001:1:0 process-calc");
    row("empty URL", "url_open", { panel, QByteArray() }, "");
    row("URL for no device", "url_open", { 10001, QByteArray("http://a") }, "");
    row("reboot", "reboot", { 0 }, "reboot");
    row("reboot a device", "reboot", { variable(device(0)) }, "reboot");
    row("reboot another", "reboot", { 1 }, "");
}

void DeviceFunctionsTest::tellsPanels()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, call);
    LibraryBench bench;
    QCOMPARE(bench.call(name.constData(), arguments), QVariant());
    QCOMPARE(bench.devices.calls.join(QLatin1Char('|')), call);
    QCOMPARE(bench.messages, QStringList());
}

void DeviceFunctionsTest::asksPanels_data()
{
    const Table<QByteArray, QVariantList, QVariant, QString, QVariant> row("name", "arguments", "answer", "call",
                                                                           "result");
    const QByteArray hi = "Hi";
    row("text", "button_text", { panel, 5, 1 }, hi, "text? 10001 5 1", hi);
    row("no answer", "button_text", { panel, 5, 1 }, {}, "text? 10001 5 1", QByteArray());
    row("state 0", "button_text", { panel, 5, 0 }, hi, "", {});
    row("two arguments", "button_text", { panel, 5 }, hi, "", {});
    row("text property", "button_property", { panel, 5, QByteArray("Name") }, hi, "button? 10001 5 name", hi);
    row("number property", "button_property", { panel, 5, QByteArray("WIDTH") }, 640LL, "button? 10001 5 width", 640.0);
    row("number, no answer", "button_property", { panel, 5, QByteArray("width") }, {}, "button? 10001 5 width", 0.0);
    row("state property", "button_state_property", { panel, 5, 2, QByteArray("text") }, hi, "state? 10001 5 2 text",
        hi);
    row("page property", "page_property", { panel, QByteArray("Main"), QByteArray("top") }, 9LL, "page? 10001 Main top",
        9.0);
    row("page, two arguments", "page_property", { panel, QByteArray("Main") }, 9LL, "", {});
}

void DeviceFunctionsTest::asksPanels()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, answer);
    QFETCH(QString, call);
    QFETCH(QVariant, result);
    LibraryBench bench;
    bench.devices.answer = answer;
    QCOMPARE(bench.call(name.constData(), arguments), result);
    QCOMPARE(bench.devices.calls.join(QLatin1Char('|')), call);
    QCOMPARE(bench.messages, QStringList());
}

void DeviceFunctionsTest::complains_data()
{
    const Table<QByteArray, QVariantList, QString> row("name", "arguments", "message");
    const QByteArray main = "Main";
    for (const char *name :
         { "button_property", "button_state_property", "set_button_property", "set_button_state_property",
           "set_page_property", "set_container_property", "container_call" }) {
        row(name, { panel, 5 }, QStringLiteral("Argument count of %1 function is too less").arg(QLatin1String(name)));
        row(name, { 10001, 5, 1, visible, 1 },
            QStringLiteral("Device argument of %1 function is not valid").arg(QLatin1String(name)));
    }
    row("page_property", { 10001, main, main }, "Device argument of page_property function is not valid");
    row("page_property", { panel, QByteArray(), main }, "Page name argument of page_property function is not valid");
    row("button_property", { panel, 5, QByteArray("text") },
        "Property name argument of button_property function is not valid");
    row("button_state_property", { panel, 5, 1, visible },
        "Property name argument of button_state_property function is not valid");
    row("set_button_property", { panel, QByteArray(), visible, 1 },
        "Channel code argument of set_button_property function is not valid");
    row("set_button_property", { panel, panel, visible, 1 },
        "Channel code argument of set_button_property function is not valid");
    row("set_button_state_property", { panel, 5, 0, visible, 1 },
        "State index argument of set_button_state_property function is not valid");
    row("set_page_property", { panel, main, QByteArray("name"), main },
        "Property name argument of set_page_property function is not valid");
    row("reboot", {}, "Too less reboot function arguments");
    row("reboot", { 0, 0 }, "Too many reboot function arguments");
    row("reboot", { 0.5 }, "Wrong reboot function argument");
    row("reboot", { std::numeric_limits<double>::infinity() }, "Wrong reboot function argument");
}

void DeviceFunctionsTest::complains()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, message);
    LibraryBench bench;
    QCOMPARE(bench.call(name.constData(), arguments), QVariant());
    QCOMPARE(bench.messages, QStringList(message));
    QCOMPARE(bench.devices.calls, QStringList());
}

void DeviceFunctionsTest::combinesDevices()
{
    LibraryBench bench;
    const auto address = [](int number) { return DeviceAddress{ number, 1, 0 }; };
    bench.call("combine_devices", {});
    bench.call("combine_devices", { 5, QByteArray("x") });
    QCOMPARE(bench.messages, QStringList());
    bench.call("combine_devices", { variable(device(32767)), variable(device(36864)) });
    QCOMPARE(bench.messages, QStringList(QStringLiteral("Combined device must contain virtual device")));
    QCOMPARE(bench.state.combinations().groups().size(), size_t(0));

    bench.call("combine_devices",
               { panel, variable(listOf(DeviceType, { device(32768), device(10002) })), variable(device(36863)) });
    const std::vector<DeviceAddress> expected{ address(36863), address(32768), address(10001), address(10002) };
    QVERIFY(bench.state.combinations().groups().size() == 1 && bench.state.combinations().groups().at(0) == expected);
    QVERIFY(bench.state.expandDevice(address(32768)) ==
            (std::vector{ address(36863), address(10001), address(10002) }));
}

void DeviceFunctionsTest::uncombinesDevices()
{
    LibraryBench bench;
    const QVariant room = variable(device(32768));
    const QVariant other = variable(device(32769));
    const QVariant a = variable(device(1));
    const QVariant b = variable(device(2));
    bench.call("combine_devices", { room, a, b });
    bench.call("uncombine_devices", { a });
    QCOMPARE(bench.messages, QStringList(QStringLiteral("Uncombined device must contain virtual device")));
    QCOMPARE(bench.state.combinations().groups().at(0).size(), size_t(3));
    bench.call("uncombine_devices", { other, a }); // any virtual device will do
    QCOMPARE(bench.state.combinations().groups().at(0).size(), size_t(2));
    bench.call("uncombine_devices", { room, b });
    QCOMPARE(bench.state.combinations().groups().size(), size_t(0));
}

void DeviceFunctionsTest::pushesInOrder()
{
    LibraryBench bench;
    bench.call("do_push",
               { variable(devChan(10001, 5)), 7, variable(listOf(200, { devChan(10002, 6), devChan(10003, 7) })) });
    QCOMPARE(bench.events.calls.join(QLatin1Char('|')), QStringLiteral("10001:1 5|10002:1 6|10003:1 7"));
}

void DeviceFunctionsTest::findsTheLastInput_data()
{
    const Table<QVariantList, double> row("arguments", "found");
    row("channels", { channelList({ 3, 5, 5 }) }, 2.0);
    row("pairs", { variable(listOf(200, { devChan(1, 5), devChan(10001, 4), devChan(10001, 5) })) }, 3.0);
    row("levels", { variable(listOf(201, { devLev(10001, 5) })) }, 1.0);
    row("devices", { variable(listOf(DeviceType, { device(10001, 2), device(10001) })) }, 2.0);
    row("none of them", { channelList({ 1, 2 }) }, 0.0);
    row("no array", { 5 }, 0.0);
    row("two arguments", { channelList({ 5 }), 1 }, 0.0);
    row("no argument", {}, 0.0);
}

void DeviceFunctionsTest::findsTheLastInput()
{
    QFETCH(QVariantList, arguments);
    QFETCH(double, found);
    LibraryBench bench;
    QCOMPARE(bench.call("get_last", arguments), QVariant(0.0)); // no event is being handled
    bench.events.input = ChannelAddress{ { 10001, 1, 0 }, 5 };
    QCOMPARE(bench.call("get_last", arguments), QVariant(found));
}

void DeviceFunctionsTest::keepsNamedValues()
{
    LibraryBench bench;
    const ValueRef loaded = text("before", 32);
    bench.call("save_var", { QByteArray("room/name"), QByteArray("Boardroom") });
    bench.call("save_var", { QByteArray(), QByteArray("no key") });
    bench.call("load_var", { QByteArray("unknown"), variable(loaded) });
    QCOMPARE(bytesOf(loaded), QByteArray("before"));
    bench.call("load_var", { QByteArray("room/name"), variable(loaded) });
    QCOMPARE(bytesOf(loaded), QByteArray("Boardroom"));
    bench.call("load_var", { QByteArray("room/name") });
    bench.call("save_var", { QByteArray("count"), number(IntegerType, 7) });
    const ValueRef count = std::make_shared<Double>(1, IntegerType);
    bench.call("load_var", { QByteArray("count"), variable(count) });
    QCOMPARE(static_cast<Double &>(*count).value(), 7.0);
    bench.call("delete_all_vars", {});
    bench.call("save_var", { QByteArray("count") });
    static_cast<Double &>(*count).setValue(2);
    bench.call("load_var", { QByteArray("count"), variable(count) });
    QCOMPARE(static_cast<Double &>(*count).value(), 2.0);
}

void DeviceFunctionsTest::setsThePulseTime()
{
    LibraryBench bench;
    const auto pulseAfter = [&bench](const QVariantList &arguments) {
        bench.call("set_pulse_time", arguments);
        return bench.state.pulseTimeMs();
    };
    QCOMPARE(pulseAfter({}), 500);
    QCOMPARE(pulseAfter({ 15 }), 1500);
    QCOMPARE(static_cast<Double *>(bench.program.findGlobal(Name(QStringLiteral("get_pulse_time"))))->value(), 15.0);
    QCOMPARE(pulseAfter({ 0.99 }), 0);
    QCOMPARE(pulseAfter({ -4 }), 0);
    QCOMPARE(pulseAfter({ 1e300 }), 2147483600);
}

void DeviceFunctionsTest::keepsTheTime()
{
    Clock clock(Clock::Drive::ByHand);
    clock.setLocalDateTime(QDateTime(QDate(2026, 2, 28), QTime(23, 59, 57)));
    LibraryBench bench;
    const auto text = [&bench](const char *symbol) {
        return asArray(bench.program.findGlobal(Name(QString::fromLatin1(symbol))))->toBytes();
    };
    QCOMPARE(text("time"), QByteArray("00:00:00"));
    QCOMPARE(text("day"), QByteArray("MON"));
    clock.advance(3000);
    QCOMPARE(text("date"), QByteArray("03/01/26"));
    QCOMPARE(text("time"), QByteArray("00:00:00"));
    QCOMPARE(text("day"), QByteArray("SUN"));
    QCOMPARE(asDouble(bench.program.findGlobal(Name(QStringLiteral("get_timer"))))->value(), 30.0);
}

void DeviceFunctionsTest::knowsItsController()
{
    LibraryBench bench;
    const QVariant room = variable(device(32768));
    setLocalSystemNumber(4);
    QCOMPARE(bench.call("get_system_number", {}), QVariant(4.0));
    setLocalSystemNumber(1);
    QCOMPARE(bench.call("get_master_build", {}), QVariant(1.0));
    QCOMPARE(bench.call("device_id", { room }), QVariant(32768.0));
}

void DeviceFunctionsTest::createsTimelines_data()
{
    const Table<QVariantList, QVariant, QString> row("arguments", "result", "message");
    const QString badId = QStringLiteral("Timeline id of timeline_create function is not valid");
    const QString badLength = QStringLiteral("Array length must greater than 0 when creating timeline");
    const QVariant two = variable(numbers(LongType, { 100, 200 }));
    row("good", { 2, two, 2, 0, 1 }, 0.0, "");
    row("flags left out", { 2, two, 2 }, 0.0, "");
    row("id in use", { 1, two, 2, 0, 1 }, 1.0, "");
    row("more than the array holds", { 2, two, 3, 0, 1 }, 2.0, "");
    row("endless", { 2, two, 2147483647.0, 0, 1 }, 2.0, "");
    row("elements that are no numbers", { 2, variable(listOf(DeviceType, { device(1) })), 1, 0, 1 }, 2.0, "");
    row("no array", { 2, 100, 1, 0, 1 }, 3.0, "");
    row("no times", { 2, QVariant(), 1, 0, 1 }, 3.0, "");
    row("negative id", { -1, two, 2, 0, 1 }, {}, badId);
    row("no arguments", {}, {}, badId);
    row("no length", { 2, two, 0, 0, 1 }, {}, badLength);
    row("length is no number", { 2, two, panel, 0, 1 }, {}, badLength);
}

void DeviceFunctionsTest::createsTimelines()
{
    QFETCH(QVariantList, arguments);
    QFETCH(QVariant, result);
    QFETCH(QString, message);
    Clock clock(Clock::Drive::ByHand);
    LibraryBench inUse;
    inUse.interpreter.timelines().add(1, { 5 }, false, false);
    QCOMPARE(inUse.call("timeline_create", arguments), result);
    QCOMPARE(inUse.messages.join(QLatin1Char('|')), message);
    QCOMPARE(inUse.call("timeline_active", { 2 }), QVariant(result == QVariant(0.0) ? 1.0 : 0.0));
}

void DeviceFunctionsTest::steersTimelines()
{
    Clock clock(Clock::Drive::ByHand);
    LibraryBench bench;
    const auto told = [&bench] {
        QStringList lines;
        for (const TimelineFigures &figures : bench.events.timelines) {
            lines << QStringLiteral("%1.%2@%3#%4%5")
                         .arg(figures.id)
                         .arg(figures.sequence)
                         .arg(figures.timeMs)
                         .arg(figures.repetition)
                         .arg(figures.isRelative ? QStringLiteral("r") : QString());
        }
        bench.events.timelines.clear();
        return lines.join(QLatin1Char(' '));
    };
    const QVariant times = variable(numbers(LongType, { 100, 200, 300 }));
    bench.call("timeline_create", { 7, times, 3, 1, 0 }); // intervals: 100, 300 and 600 ms
    bench.call("timeline_create", { 8, times, 1, 0, 1 });
    clock.advance(250);
    QCOMPARE(told(), QStringLiteral("7.1@100#0r 8.1@100#0 8.1@100#1"));
    QCOMPARE(bench.call("timeline_pause", { 7.9999999999999 }), QVariant(0.0)); // cut off: 7
    QCOMPARE(bench.call("timeline_kill", { 8 }), QVariant(0.0));
    clock.advance(5000);
    QCOMPARE(told(), QString());
    QCOMPARE(bench.call("timeline_active", { 7 }), QVariant(1.0));
    QCOMPARE(bench.call("timeline_restart", { 7 }), QVariant(0.0));
    clock.advance(400);
    QCOMPARE(told(), QStringLiteral("7.2@300#0r 7.3@600#0r"));
    QCOMPARE(bench.call("timeline_active", { 7 }), QVariant(0.0)); // over
    for (const char *name : { "timeline_kill", "timeline_pause", "timeline_restart" }) {
        QCOMPARE(bench.call(name, { 7 }), QVariant(1.0));
    }
    QCOMPARE(bench.call("timeline_kill", {}), QVariant(0.0));
    QCOMPARE(bench.call("timeline_pause", {}), QVariant(1.0));
    QCOMPARE(bench.call("timeline_active", {}), QVariant(0.0));
}

TEST_CLASS(DeviceFunctionsTest)
#include "DeviceFunctionsTest.moc"
