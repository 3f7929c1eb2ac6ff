#include "program/AST.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QSignalSpy>

namespace {
Name name(const char *text)
{
    return Name(QString::fromLatin1(text));
}

std::unique_ptr<Double> constant(const char *text, double value)
{
    auto number = std::make_unique<Double>(value, IntegerType);
    number->setName(name(text));
    number->setConst(true);
    return number;
}
} // namespace

/// Structures, devices and what the program object says of declarations.
class StructTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void membersAreFoundInAnyCase()
    {
        StructType structure;
        structure.addMember(name("a"), std::make_unique<Double>(1));
        structure.addMember(name(" A "), std::make_unique<Double>(2));
        structure.addMember(name(""), std::make_unique<Double>(3));
        QCOMPARE(structure.members().size(), size_t(1));
        QCOMPARE(asDouble(structure.member(name("a")))->value(), 1.0);
    }

    void devicesRefuseNegativeParts()
    {
        AST program;
        QSignalSpy errors(&program, &AST::error);
        Device device({}, &program);
        device.setAddress({ 10001, -1, 2 });
        QCOMPARE(device.address(), (DeviceAddress{ 10001, 1, 2 }));
        QCOMPARE(errors.takeFirst().at(0).toString(), QStringLiteral("Device port id cannot be negative"));
        assignValue(device, ValueView::ofNumber(12.5, DoubleType));
        QCOMPARE(device.address(), (DeviceAddress{ 12, 1, 0 }));
    }

    void channelsComeBackFromARecordAsStructures()
    {
        AST program;
        Array list(DevChan::kTypeCode);
        auto channel = std::make_unique<DevChan>();
        channel->setCode(7);
        channel->setDevice({ 10001, 1, 0 });
        list.setElement(1, std::move(channel));
        list.setLength(1);
        Array read(DevChan::kTypeCode);
        QVERIFY(readRecord(read, recordOf(list)));
        Array numbers;
        QVERIFY(!readRecord(numbers, recordOf(list)));
        const BasicType *element = read.object(1);
        QVERIFY(element);
        QCOMPARE(element->valueClass(), ValueClass::Struct);
        const auto address = devChanOf(element);
        QVERIFY(address);
        QCOMPARE(address->channel, 7);
        QCOMPARE(address->device.number, 10001);
        QVERIFY(!devLevOf(element));
    }

    void structuresCopyByMemberName()
    {
        AST program;
        program.setCustomType(
            202, std::make_unique<CustomTypeInfo>(QStringLiteral("pair"),
                                                  std::vector<TypeDecl>{ { QStringLiteral("x"), IntegerType, {} },
                                                                         { QStringLiteral("s"), CharType, { 4 } } }));
        const std::unique_ptr<BasicType> one = makeValue(202, &program);
        const std::unique_ptr<BasicType> two = makeValue(202, &program);
        auto *first = static_cast<StructType *>(one.get());
        assignValue(*first->member(name("x")), ValueView::ofNumber(5, IntegerType));
        assignValue(*first->member(name("s")), *Array::ofBytes("abcdef"));
        assignValue(*two, *one);
        auto *second = static_cast<StructType *>(two.get());
        QCOMPARE(asDouble(second->member(name("x")))->value(), 5.0);
        QCOMPARE(asArray(second->member(name("s")))->toBytes(), QByteArray("abcd"));
        // A list fills the members in the order of their declaration.
        Array list(DoubleType);
        list.setElement(1, std::make_unique<Double>(8));
        list.setLength(1);
        assignValue(*two, list);
        QCOMPARE(asDouble(second->member(name("x")))->value(), 8.0);
        // Another type is refused.
        Device device({ 1, 2, 3 });
        assignValue(*two, device);
        QCOMPARE(asDouble(second->member(name("x")))->value(), 8.0);
    }

    void aTypeThatContainsItselfEnds()
    {
        AST program;
        program.setCustomType(
            202, std::make_unique<CustomTypeInfo>(QStringLiteral("loop"),
                                                  std::vector<TypeDecl>{ { QStringLiteral("inner"), 202, {} } }));
        QVERIFY(makeValue(202, &program));
    }

    void declarations_data()
    {
        const Table<QString, double, QStringList> row("text", "value", "errors");
        const QString taken = QStringLiteral("Symbol [%1] already defined in current scope");
        row("a new name", "count", 1.0, {});
        row("a system constant with its value", "do_push_timed_infinite", 65535.0, {});
        row("a system constant with another", "Do_Push_Timed_Infinite ", 1.0,
            { taken.arg(QStringLiteral("DO_PUSH_TIMED_INFINITE")) });
        row("a variable of the system", "get_timer", 1.0, { taken.arg(QStringLiteral("GET_TIMER")) });
    }

    void declarations()
    {
        QFETCH(QString, text);
        QFETCH(double, value);
        QFETCH(QStringList, errors);
        AST program;
        QSignalSpy seen(&program, &AST::error);
        program.declareGlobal(constant(text.toLatin1().constData(), value));
        QStringList texts;
        for (const auto &arguments : seen) {
            texts << arguments.at(0).toString();
        }
        QCOMPARE(texts, errors);
    }

    void devicesOutOfRangeAreNamed()
    {
        AST program;
        QSignalSpy errors(&program, &AST::error);
        const auto declare = [&program](const char *text, const DeviceAddress &address) {
            auto device = std::make_unique<Device>(address);
            device->setName(name(text));
            program.declareGlobal(std::move(device));
        };
        declare("a", { 46999, 1, 0 });
        QCOMPARE(errors.size(), 0);
        declare("b", { 47000, 1, 0 });
        QCOMPARE(errors.takeFirst().at(0).toString(), QStringLiteral("Device id cannot be greater than 46999"));
        declare("c", { 10, 0, 0 });
        QCOMPARE(errors.takeFirst().at(0).toString(), QStringLiteral("Devcie port less than 1 is not valid"));
        QVERIFY(program.findGlobal(name("c")));
        QVERIFY(program.declaresDevice(47000));
    }

    void virtualDevicesStandForTheirGroup()
    {
        DeviceCombineManager combinations;
        combinations.addGroup({ { 33000, 1, 1 }, { 10, 1, 1 }, { 20, 1, 1 } });
        const std::vector<DeviceAddress> members{ { 10, 1, 1 }, { 20, 1, 1 } };
        QCOMPARE(combinations.expand({ 33000, 1, 1 }), members);
        QVERIFY(combinations.expand({ 33001, 1, 1 }).empty());
        QCOMPARE(combinations.expand({ 10, 1, 1 }), (std::vector<DeviceAddress>{ { 10, 1, 1 } }));
    }
};

TEST_CLASS(StructTest)
#include "StructTest.moc"
