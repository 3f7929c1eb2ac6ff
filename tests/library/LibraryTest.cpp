#include "LibraryBench.h"
#include "support/Table.h"

#include "base/Clock.h"
#include "support/TestClass.h"

#include <QDir>
#include <QRandomGenerator>
#include <QSet>

#include <limits>

class LibraryTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void knowsItsKeys();
    void refusesItsNamesToThePrograms();
    void takesAnything_data();
    void takesAnything();
};

void LibraryTest::knowsItsKeys()
{
    QCOMPARE(Library::table().size(), size_t(126));
    QSet<QString> names;
    int aliases = 0;
    for (const Builtin &builtin : Library::table()) {
        names.insert(QString::fromLatin1(builtin.name).toLower());
        aliases += builtin.alias == Alias::Lower ? 1 : 0;
    }
    QCOMPARE(names.size(), 126); // none twice
    QCOMPARE(aliases, 14);
    QVERIFY(Library::find(QStringLiteral(" file_Read "))->takes(3));
    QVERIFY(!Library::find(QStringLiteral("mid_string"))->takes(4));
    QVERIFY(!Library::find(QStringLiteral("mid_strin")));
}

void LibraryTest::refusesItsNamesToThePrograms()
{
    class Own : public Function
    {
    public:
        using Function::Function;
        bool isBuiltin() const override { return false; }
    };
    LibraryBench bench;
    bench.program.addFunction(std::make_unique<Own>(QStringLiteral("Atoi")));
    QCOMPARE(bench.messages, QStringList(QStringLiteral("Function ATOI has already defined in library")));
    QVERIFY(bench.program.findFunction(Name(QStringLiteral("aToI")))->isBuiltin());
}

namespace {
/// Arguments of every kind and size, also such that no program would pass.
QVariant anyArgument(QRandomGenerator &random)
{
    constexpr double kNumbers[] = { 0,
                                    1,
                                    -1,
                                    2.5,
                                    3,
                                    16,
                                    4096,
                                    65536,
                                    1e7,
                                    2147483647.0,
                                    -2147483648.0,
                                    4294967296.0,
                                    1e300,
                                    -1e300,
                                    kInfinity,
                                    -kInfinity,
                                    std::numeric_limits<double>::quiet_NaN() };
    const QByteArray kTexts[] = { "",
                                  "a",
                                  "name",
                                  "text",
                                  "%d",
                                  "%5.2f",
                                  "0A1B03000100",
                                  "12/25/00",
                                  "23:59:59",
                                  QByteArray("\0\xFF\x1B", 3),
                                  QByteArray(5000, 'x') };
    switch (random.bounded(10)) {
    case 0:
        return {};
    case 1:
        return kTexts[random.bounded(11)];
    case 2:
    case 3:
        return variable(text(kTexts[random.bounded(11)], random.bounded(2) * 5000));
    case 4:
        return variable(numbers(10 + random.bounded(8), { 1, 300, -5, 1e300, 7, 0.5, 8, 9 }));
    case 5:
        return variable(random.bounded(2) == 0 ? device(10001) : device(32768));
    case 6:
        return variable(listOf(DeviceType, { device(1), device(32768), devChan(2, 3) }));
    case 7: {
        const ValueRef holes = text("abc", 1 << 20); // bounds far beyond what is stored, and holes in between
        static_cast<Array &>(*holes).place(5000);
        static_cast<Array &>(*holes).setLength(random.bounded(10000));
        return variable(holes);
    }
    case 8:
        return variable(listOf(CharType, { numbers(CharType, { 65, 66 }), numbers(CharType, {}) }));
    default:
        return number(10 + random.bounded(8), kNumbers[random.bounded(17)]);
    }
}
} // namespace

void LibraryTest::takesAnything_data()
{
    const Table<QByteArray> row("name");
    for (const Builtin &builtin : Library::table()) {
        if (builtin.isAvailable()) {
            row(builtin.name);
        }
    }
}

void LibraryTest::takesAnything()
{
    QFETCH(QByteArray, name);
    QTemporaryDir scratch; // files named by accident
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(scratch.path()));
    Clock clock(Clock::Drive::ByHand);
    LibraryBench bench;
    bench.events.input = ChannelAddress{ { 10001, 1, 0 }, 5 };
    QRandomGenerator random(qHash(name));
    for (int round = 0; round < 150; ++round) {
        QVariantList arguments;
        for (int i = random.bounded(7); i > 0; --i) {
            arguments << anyArgument(random);
        }
        bench.call(name.constData(), arguments);
        for (const QVariant &argument : arguments) {
            const Array *array = asArray(argument.value<ValueRef>().get());
            QVERIFY(!array || (array->length() >= 0 && array->length() <= 1 << 24));
            QVERIFY(!array || array->toBytes().size() <= 10000);
        }
    }
    for (const QString &message : bench.messages) {
        QVERIFY2(!message.contains(QLatin1Char('%')), qPrintable(message));
    }
    QVERIFY(QDir::setCurrent(before));
}

TEST_CLASS(LibraryTest)
#include "LibraryTest.moc"
