#include "support/TestClass.h"
#include "tools/arkctl/screen/MentionedCodes.h"
#include "tools/arkctl/screen/MouseReport.h"
#include "tools/arkctl/screen/PanelKeys.h"
#include "tools/arkctl/screen/PanelPicture.h"
#include "tools/arkctl/screen/ScreenText.h"

/// The panel on the terminal without a terminal: what keys do, and what is drawn.
class PanelScreenTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { ScreenText::useUtf8(); }
    void texts_data();
    void texts();
    void wideCellsStayWhole();
    void codeLists_data();
    void codeLists();
    void mentions_data();
    void mentions();
    void strokes_data();
    void strokes();
    void mouseReports_data();
    void mouseReports();
    void mouse();
    void dragging();
    void log();
    void longLabels();
    void pictures_data();
    void pictures();
    void everySize_data();
    void everySize();
};

namespace {
using Kind = Key::Kind;

const QTime kNow(12, 0, 0);

PanelModel modelOf(const char *buttons, const char *levels)
{
    PanelModel::Setup setup;
    setup.device = 10001;
    setup.controller = QStringLiteral("127.0.0.1:6139");
    setup.buttons = *buttons ? std::get<0>(parseCodeList(buttons)) : std::vector<int>{};
    setup.levels = *levels ? std::get<0>(parseCodeList(levels)) : std::vector<int>{};
    PanelModel model(setup);
    model.setLink(true, QStringLiteral("connected"));
    return model;
}

QString shown(const PanelModel::Actions &actions)
{
    const char *const signs[] = { "+", "-", "=" };
    QStringList parts;
    for (const PanelAction &action : actions) {
        const QString sign = QLatin1String(signs[static_cast<int>(action.kind)]);
        const bool isLevel = action.kind == PanelAction::Kind::Level;
        parts << (isLevel ? QString::number(action.code) : QString()) + sign +
                     QString::number(isLevel ? action.value : action.code);
    }
    return parts.join(QLatin1Char(' '));
}

Key keyOf(const QString &word)
{
    static const QHash<QString, Kind> names{
        { QStringLiteral("enter"), Kind::Enter }, { QStringLiteral("left"), Kind::Left },
        { QStringLiteral("right"), Kind::Right }, { QStringLiteral("up"), Kind::Up },
        { QStringLiteral("down"), Kind::Down },   { QStringLiteral("pgup"), Kind::PageUp },
        { QStringLiteral("tab"), Kind::Tab },     { QStringLiteral("pgdown"), Kind::PageDown },
        { QStringLiteral("esc"), Kind::Escape },  { QStringLiteral("back"), Kind::Backspace },
        { QStringLiteral("end"), Kind::End },
    };
    const char32_t character = word == QLatin1String("space") ? U' ' : word.at(0).unicode();
    return names.contains(word) ? Key{ names.value(word) } : Key{ Kind::Character, character };
}

/// Strokes one after the other on a screen of 40 columns, a second between them, or 30 ms before one with "~"; what the
/// controller is told.
QString typed(const QString &words, PanelModel &model)
{
    QTime now = kNow;
    QStringList told;
    const QStringList parts = words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (QString word : parts) {
        now = now.addMSecs(word.startsWith(QLatin1Char('~')) ? 30 : 1000);
        word.remove(QLatin1Char('~'));
        if (word == QLatin1String("LOST")) {
            model.lost(now, QStringLiteral("gone"));
            model.setLink(false, QStringLiteral("connecting"));
        } else if (word == QLatin1String("BACK")) {
            model.connected(now);
            model.setLink(true, QStringLiteral("connected"));
        } else {
            const KeyEffect effect = takeKey(keyOf(word), now, drawPanel(model, 40, 20), model);
            const PanelModel::Actions actions = effect.ends ? model.releaseAll(now) : effect.actions;
            told << shown(actions) + (effect.ends ? QStringLiteral("end") : QString());
        }
    }
    told.removeAll(QString());
    return told.join(QLatin1Char(' '));
}

QString picture(const PanelModel &model, int columns, int rows)
{
    const PanelPicture drawn = drawPanel(model, columns, rows);
    QStringList lines;
    for (int row = 0; row < rows; ++row) {
        lines << drawn.canvas.text(row);
    }
    return lines.join(QLatin1Char('\n'));
}
} // namespace

void PanelScreenTest::texts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("fitted");
    QTest::newRow("filled up") << "ab" << 4 << "ab  ";
    QTest::newRow("cut") << "abcde" << 4 << QStringLiteral("abc\u2026");
    QTest::newRow("wide fits") << QStringLiteral("会议") << 4 << QStringLiteral("会议");
    QTest::newRow("wide cut") << QStringLiteral("会议室") << 5 << QStringLiteral("会议\u2026");
    QTest::newRow("no half of a wide one") << QStringLiteral("会议室") << 4 << QStringLiteral("会\u2026 ");
    QTest::newRow("accent stays with its letter")
        << QStringLiteral("e\u0301bc") << 2 << QStringLiteral("e\u0301\u2026");
    QTest::newRow("one column") << "ab" << 1 << QStringLiteral("\u2026");
    QTest::newRow("none") << "ab" << 0 << "";
    QTest::newRow("escapes") << QStringLiteral("\x1B[2J\n\u009B") << 14 << "\\x1b[2J\\x0a\\x…";
    QTest::newRow("direction") << QStringLiteral("\u202Ea") << 8 << "\\u202ea ";
}

void PanelScreenTest::texts()
{
    QFETCH(QString, text);
    QFETCH(int, columns);
    QTEST(ScreenText::fitted(ScreenText::printable(text), columns), "fitted");
}

void PanelScreenTest::wideCellsStayWhole()
{
    Canvas canvas(6, 1);
    canvas.put(0, 0, 6, QStringLiteral("会议室"), {});
    canvas.put(0, 1, 1, QStringLiteral("x"), {}); // the right half of the first
    canvas.put(0, 4, 1, QStringLiteral("y"), {}); // the left half of the third
    QCOMPARE(canvas.text(0), QStringLiteral(" x议y "));
    canvas.put(0, 5, 2, QStringLiteral("室"), {}); // no room
    canvas.put(1, 0, 2, QStringLiteral("no"), {});
    canvas.put(0, -1, 2, QStringLiteral("no"), {});
    QCOMPARE(canvas.text(0), QStringLiteral(" x议y\u2026"));
}

void PanelScreenTest::codeLists_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("codes");
    const auto row = [](const char *text, const char *codes) {
        QTest::newRow(text) << QString::fromLatin1(text) << QString::fromLatin1(codes);
    };
    row("3,1-2, 2 - 4", "1 2 3 4");
    row("65535", "65535");
    row("", "fault");
    row("1,", "fault");
    row("5-3", "fault");
    row("65536", "fault");
    row("1-1000", "1000 of them");
    row("1-65535", "fault");
    row("-5", "fault");
}

void PanelScreenTest::codeLists()
{
    QFETCH(QString, text);
    const auto parsed = parseCodeList(text.toStdString());
    QStringList codes;
    if (const auto *list = std::get_if<0>(&parsed)) {
        for (const int code : *list) {
            codes << QString::number(code);
        }
    }
    QTEST(parsed.index() == 1 ? QStringLiteral("fault")
          : codes.size() > 10 ? QStringLiteral("%1 of them").arg(codes.size())
                              : codes.join(QLatin1Char(' ')),
          "codes");
}

void PanelScreenTest::mentions_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QVector<int>>("channels");
    QTest::addColumn<QVector<int>>("levels");
    using Codes = QVector<int>;
    const auto row = [](const char *name, int code, const QByteArray &body, const Codes &channels,
                        const Codes &levels = {}) { QTest::newRow(name) << code << body << channels << levels; };
    row("single", 0x1B, "7:1:0-0", { 7 });
    row("range", 0x1B, "7:1:6-8", { 7, 6, 7, 8 });
    row("wide range", 0x1B, "7:1:1-30000", { 7 });
    row("endless range", 0x1B, "7:1:-9223372036854775808-9223372036854775807", { 7 });
    row("beyond", 0x1B, "70000:1:-3:1", {});
    row("list", 0x1C, "7:1:7,9", { 7, 7, 9 });
    row("levels", 0x1D, "3:10:4:20", {}, { 3, 4 });
    row("text of buttons", 0x3B, "setstateproperty:5,6:text:1:On", { 5, 6 });
    row("container", 0x41, "setcontainerproperty:5,6:a:b", {});
    row("question", 0x1A, "12", { 12 });
    row("command", 0x1E, "channels", {});
    row("snapshot", 0x34,
        QByteArray::fromHex("00000001 00000002 00000000 00000008 00000001 00000000 00000000"
                            "00000000 00000000 00000000 00000002 0000001e"),
        { 8 }, { 2 });
}

void PanelScreenTest::mentions()
{
    QFETCH(int, code);
    QFETCH(QByteArray, body);
    const MentionedCodes codes = codesMentionedIn(decodeLinkMessage(static_cast<quint8>(code), body));
    QTEST(codes.channels, "channels");
    QTEST(codes.levels, "levels");
}

void PanelScreenTest::strokes_data()
{
    QTest::addColumn<QString>("words");
    QTest::addColumn<QString>("told"); // +: push, -: release, 1=5: level 1 to 5
    const auto row = [](const char *words, const char *told) {
        QTest::newRow(words) << QString::fromLatin1(words) << QString::fromLatin1(told);
    };
    row("enter right enter", "+1 -1 +2 -2");
    row("left up enter", "+1 -1");
    row("down enter", "+5 -5"); // four beside each other
    row("end up enter", "+6 -6");
    row("down down down down enter", ""); // the levels are below
    row("space right space q", "+1 +2 -1 -2end");
    row("space space q", "+1 -1 end");
    row("space space ~space ~space ~space space", "+1 -1 +1"); // a key that is kept down does not rattle
    row("space enter q", "+1 -1 end");                         // a press lets go of what is held
    row("1 2 enter", "+12 -12");
    row("7 7 space 7 7 space", "+77 -77");
    row("7 7 enter right enter", "+77 -77 +77 -77"); // it is the last button now
    row("9 9 9 9 9 enter", "");
    row("1 2 back enter 3 esc enter", "+1 -1 +1 -1");
    row("7 right enter", "+2 -2"); // an arrow forgets the number
    row("+ + -", "1=1 1=2 1=1");
    row("tab + pgup pgdown pgdown -", "1=1 1=11 1=1 1=0");
    row("pgup pgdown enter", "+1 -1");               // pages the log
    row("l enter space 5 + tab esc enter", "+1 -1"); // the log alone hides what they would push
    row("l q tab + l q pgup", "1=1 1=11");           // back to where one was
    row("tab down right tab enter", "2=1 +1 -1");
    row("tab 6 0 enter 2 5 6 enter +", "1=60 1=61");
    row("tab 6 space enter", "");
    row("space LOST q", "+1 end"); // nobody to tell it to
    row("space LOST enter space BACK space", "+1 +1");
    row("7 LOST enter +", "");
    row("? 5 enter q", "+1 -1 end"); // the key that closes the help does nothing else
}

void PanelScreenTest::strokes()
{
    QFETCH(QString, words);
    PanelModel model = modelOf("1-10", "1-2");
    QTEST(typed(words, model), "told");
}

void PanelScreenTest::mouseReports_data()
{
    QTest::addColumn<QString>("bytes"); // "<" and "[" stand for what begins a report
    QTest::addColumn<QString>("keys");  // kind, row and column
    const auto row = [](const char *bytes, const char *keys) {
        QTest::newRow(bytes) << QString::fromLatin1(bytes) << QString::fromLatin1(keys);
    };
    row("<0;20;18M<0;300;2m", "down 17 19, up 1 299");
    row("<32;1;1M<64;2;3M<65;2;3M", "move 0 0, wheel+ 2 1, wheel- 2 1");
    row("<16;1;1M<2;1;1M<35;1;1M<128;1;1M", "down 0 0"); // Ctrl; other buttons
    row("<0;1M<0;1;1;1M<M<0;1;1x<12345678901234567890123M<0;99999999999;1M", "down 0 9998");
    row("[ !\"[#!!<0;1;[ \"!", "down 1 0, up 0 0, down 0 1"); // cut off by another one
}

void PanelScreenTest::mouseReports()
{
    QFETCH(QString, bytes);
    static const QHash<int, QString> names{ { int(Kind::MouseDown), QStringLiteral("down") },
                                            { int(Kind::MouseMove), QStringLiteral("move") },
                                            { int(Kind::MouseUp), QStringLiteral("up") },
                                            { int(Kind::WheelUp), QStringLiteral("wheel+") },
                                            { int(Kind::WheelDown), QStringLiteral("wheel-") } };
    MouseReport report;
    QStringList keys;
    for (const QChar byte : qAsConst(bytes)) {
        if (byte == QLatin1Char('<') || byte == QLatin1Char('[')) {
            report.begin(byte == QLatin1Char('<') ? MouseReport::Form::Numbers : MouseReport::Form::Characters);
        } else if (const auto key = report.isOpen() ? report.take(byte.unicode()) : std::nullopt) {
            keys << QStringLiteral("%1 %2 %3").arg(names.value(int(key->kind))).arg(key->row).arg(key->column);
        }
    }
    QTEST(keys.join(QStringLiteral(", ")), "keys");
}

void PanelScreenTest::mouse()
{
    PanelModel model = modelOf("1-10", "1-2");
    const auto at = [&model](Kind kind, PanelPicture::Area::Kind what, int code, int more = 0) {
        const PanelPicture drawn = drawPanel(model, 60, 20);
        for (const PanelPicture::Area &area : drawn.areas) {
            if (area.kind == what && area.code == code) {
                return shown(takeKey({ kind, 0, area.row, area.column + more }, kNow, drawn, model).actions);
            }
        }
        return QStringLiteral("not there");
    };
    using What = PanelPicture::Area::Kind;
    QCOMPARE(at(Kind::MouseDown, What::Button, 3), QStringLiteral("+3"));
    QVERIFY(model.isHeld(3));
    QCOMPARE(at(Kind::MouseUp, What::Button, 7), QStringLiteral("-3")); // let go of elsewhere
    QCOMPARE(at(Kind::MouseUp, What::Button, 3), QString());
    QCOMPARE(typed(QStringLiteral("space"), model), QStringLiteral("+3"));
    QCOMPARE(at(Kind::MouseDown, What::Button, 3), QString()); // is pushed already
    QCOMPARE(at(Kind::MouseUp, What::Button, 3), QStringLiteral("-3"));
    QCOMPARE(at(Kind::MouseDown, What::Button, 4), QStringLiteral("+4"));
    QCOMPARE(at(Kind::MouseDown, What::Button, 5), QStringLiteral("-4 +5")); // the release got lost
    model.lost(kNow, QStringLiteral("gone"));
    QCOMPARE(at(Kind::MouseUp, What::Button, 5), QString());
}

/// A level follows the mouse until it is let go of, also beside its bar, and is told in between and at the end.
void PanelScreenTest::dragging()
{
    PanelModel model = modelOf("1-10", "1-2");
    using What = PanelPicture::Area::Kind;
    const PanelPicture::Area bar = *drawPanel(model, 60, 20).areaOf(What::Level, 2);
    const int last = bar.columns - 1;
    const auto at = [&model, &bar](Kind kind, int column, int row = 0) {
        return shown(
            takeKey({ kind, 0, bar.row + row, bar.column + column }, kNow, drawPanel(model, 60, 20), model).actions);
    };
    QCOMPARE(at(Kind::MouseMove, 3), QString()); // nothing is held
    QCOMPARE(at(Kind::MouseDown, last), QStringLiteral("2=255"));
    QCOMPARE(at(Kind::MouseMove, -20, -9), QString());
    QCOMPARE(model.value(2), 0);
    QCOMPARE(shown(model.reportSlide(kNow)), QStringLiteral("2=0"));
    QCOMPARE(shown(model.reportSlide(kNow)), QString()); // once
    model.take(kNow, decodeLinkMessage(0x1D, "2:1000")); // what the controller says meanwhile is seen afterwards
    QCOMPARE(at(Kind::MouseMove, last + 20), QString());
    QCOMPARE(model.value(2), 255);
    QCOMPARE(at(Kind::MouseUp, last), QStringLiteral("2=255"));
    QCOMPARE(at(Kind::MouseMove, 0) + at(Kind::MouseUp, 0), QString());

    at(Kind::MouseDown, 0);
    at(Kind::MouseMove, last);
    QCOMPARE(at(Kind::MouseDown, 0, -1), QStringLiteral("2=255 1=0")); // the release got lost
    at(Kind::MouseMove, last);
    QCOMPARE(shown(model.releaseAll(kNow)), QStringLiteral("1=255"));
    at(Kind::MouseDown, 0);
    model.take(kNow, decodeLinkMessage(0x1D, "2:7"));
    QCOMPARE(at(Kind::MouseUp, 0), QString());
    QCOMPARE(model.value(2), 7);
    at(Kind::MouseDown, 0);
    model.lost(kNow, QStringLiteral("gone"));
    QCOMPARE(at(Kind::MouseUp, last), QString());
    QCOMPARE(at(Kind::WheelUp, 0), QStringLiteral("2=5"));
}

/// The lines that one reads stay while new ones come, until they are forgotten.
void PanelScreenTest::log()
{
    PanelModel model = modelOf("1-3", "1");
    int next = 0;
    const auto add = [&model, &next](int count) {
        for (const int end = next + count; next < end; ++next) {
            model.note(kNow, QStringLiteral("line %1.").arg(next));
        }
    };
    const auto lowest = [&model] {
        const LogPosition::Window window = model.logWindow(10);
        const auto place = static_cast<size_t>(window.first + window.count - 1);
        return window.count > 0 ? model.log().lines().at(place).text : QString();
    };
    typed(QStringLiteral("l pgup up"), model); // of nothing
    QCOMPARE(lowest(), QString());
    add(5);
    model.scrollLog(10, -1); // all are to be seen
    add(95);
    QCOMPARE(lowest(), QStringLiteral("line 99."));
    model.scrollLog(10, -30);
    add(50);
    QCOMPARE(lowest(), QStringLiteral("line 69."));
    QVERIFY(picture(model, 80, 24).contains(QStringLiteral("80 newer")));
    typed(QStringLiteral("down up up"), model);
    QCOMPARE(lowest(), QStringLiteral("line 68."));
    model.scrollLog(10, -1000);
    QCOMPARE(lowest(), QStringLiteral("line 9."));
    add(5000); // old lines make room
    QCOMPARE(lowest(), QStringLiteral("line 3159."));
    QCOMPARE(model.log().lines().size(), size_t(2000));
    model.scrollLog(10, 100000);
    add(1);
    QCOMPARE(lowest(), QStringLiteral("line 5150."));
    for (const char *back : { "end", "esc" }) {
        model.setShowsLogOnly(false);
        typed(QStringLiteral("pgup ") + QLatin1String(back), model);
        QCOMPARE(lowest(), QStringLiteral("line 5150."));
    }
    QCOMPARE(model.selectedButton(), 0); // "end" was for the log
    QCOMPARE(drawPanel(model, 40, 4).logRows, 0);
    takeKey({ Kind::PageUp }, kNow, drawPanel(model, 40, 4), model); // no room beside the buttons
    QVERIFY(model.showsLogOnly());
}

/// A few long labels do not widen all cells where that costs frames; the selected one is to be read whole.
void PanelScreenTest::longLabels()
{
    PanelModel model = modelOf("1-24", "1");
    const auto name = [&model](int button, const QString &label) {
        model.take(kNow,
                   decodeLinkMessage(0x3A, QStringLiteral("setproperty:%1:name:%2").arg(button).arg(label).toUtf8()));
    };
    for (int button = 1; button <= 24; ++button) {
        name(button, QStringLiteral("Short"));
    }
    name(2, QStringLiteral("Conference room\nlights, all"));
    name(3,
         QStringLiteral("会议室灯光全部打开会议室灯光全部打开会议室灯光全部打开会议室灯光全部打开会议室灯光全部打开"));
    const QString before = picture(model, 100, 30);
    QVERIFY2(before.contains(QStringLiteral("Conference…")) && before.count(QChar(0x250c)) == 23, qPrintable(before));
    model.selectButton(1);
    QVERIFY(picture(model, 100, 30).contains(QStringLiteral(" 2 Conference room lights, all   ?:help")));
    QVERIFY(picture(model, 200, 30).contains(QStringLiteral("Conference room l")));
    model.selectButton(2);
    const QStringList lines = picture(model, 60, 40).split(QLatin1Char('\n'));
    QCOMPARE(QString(lines.at(38) + lines.at(39)).remove(QLatin1Char(' ')),
             QStringLiteral("3") + model.label(3) + QStringLiteral("?:helpq:quit"));
}

void PanelScreenTest::pictures_data()
{
    QTest::addColumn<QList<QByteArray>>("messages"); // the code in the first byte
    QTest::addColumn<QString>("parts");              // of the picture, with "|" between
    const auto row = [](const char *name, const QList<QByteArray> &messages, const char *parts) {
        QTest::newRow(name) << messages << QString::fromUtf8(parts);
    };
    row("a group lights one", { "\x1C 2:1:1,2,3", "\x1C 3:1:1,2,3" }, "○ 1|○ 2|● 3|button 3 on (group 1,2,3)");
    row("a range too", { "\x1B 1:1:1-3", "\x1B 2:1:1-3" }, "○ 1|● 2");
    row("new ones in their place", { "\x1B 12:1:0-0", "\x1D 9:200" }, "○  1|● 12| 9 | 200 ");
    row("the text of the state",
        { "\x3B setstateproperty:1,2:text:1:开", "\x3B setstateproperty:1:text:2:关 lit", "\x1B 1:1:0-0" },
        "● 1 关 lit|○ 2 开");
    row("the name, where there is no text", { "\x3A setproperty:2:name:Lamp" }, "○ 2 Lamp");
    row("no escapes", { "\x1E a\x1B]0;b\a", "\x3B setstateproperty:1:text:1:\x1B]" },
        "command a\\x1b]0;b\\x07|○ 1 \\x1b]");
    row("levels beyond the range", { "\x1D 1:1000:2:-9999999999" }, " 1000 |-2147483648");
}

void PanelScreenTest::pictures()
{
    QFETCH(QList<QByteArray>, messages);
    QFETCH(QString, parts);
    PanelModel model = modelOf("1-3", "1");
    for (const QByteArray &message : messages) {
        model.take(kNow, decodeLinkMessage(static_cast<quint8>(message.at(0)), message.mid(2)));
    }
    const QString drawn = picture(model, 80, 24);
    const QStringList wanted = parts.split(QLatin1Char('|'));
    for (const QString &part : wanted) {
        QVERIFY2(drawn.contains(part), qPrintable(part + QStringLiteral(" is not in\n") + drawn));
    }
    model.connected(kNow); // what was lit is forgotten, the texts stay
    const QString again = picture(model, 80, 24);
    QVERIFY2(again.count(QChar(0x25cf)) == 1, qPrintable(again)); // that of the first line
    QCOMPARE(again.contains(QStringLiteral("○ 2 开")), drawn.contains(QStringLiteral("○ 2 开")));
}

void PanelScreenTest::everySize_data()
{
    QTest::addColumn<QString>("buttons");
    QTest::addColumn<QString>("levels");
    QTest::newRow("few") << "1-3"
                         << "1";
    QTest::newRow("many") << "1-500,60000"
                          << "1-40";
    QTest::newRow("no buttons") << ""
                                << "1-4";
    QTest::newRow("no levels") << "1-24"
                               << "";
    QTest::newRow("nothing") << ""
                             << "";
}

/// Whatever the size: all lines have its width, nothing clickable lies outside or on top of another, and the selected
/// button or level is to be seen as soon as there is a line for it.
void PanelScreenTest::everySize()
{
    QFETCH(QString, buttons);
    QFETCH(QString, levels);
    PanelModel model = modelOf(qPrintable(buttons), qPrintable(levels));
    for (const char *message :
         { "setstateproperty:2:text:1:会议室会议室会议室会议室", "setstateproperty:3:text:1:e\u0301" }) {
        model.take(kNow, decodeLinkMessage(0x3B, message));
    }
    model.take(kNow, decodeLinkMessage(0x1E, QByteArray(5000, 'x')));
    using What = PanelPicture::Area::Kind;
    for (int columns = 0; columns <= 130; columns += columns < 30 ? 1 : 9) {
        for (int rows = 0; rows <= 40; ++rows) {
            rows % 2 == 0 ? model.showHelp(rows % 19) : model.closeHelp();
            model.scrollLog(rows, rows % 3 - 1);
            model.setTypedNumber(rows % 3 == 0 ? QStringLiteral("123456789") : QString());
            model.selectButton(columns * rows % 501);
            if (rows % 5 == 0) {
                model.selectLevel(columns % 40);
            }
            const PanelPicture drawn = drawPanel(model, columns, rows);
            QCOMPARE(drawn.canvas.rows(), rows);
            QVector<int> taken(columns * rows);
            const bool atLevels = model.focus() == PanelModel::Focus::Levels;
            const bool isEmpty = (atLevels ? model.setup().levels : model.setup().buttons).empty();
            bool seesSelected = isEmpty || columns == 0 || rows < (atLevels ? 3 : 4);
            for (const PanelPicture::Area &area : drawn.areas) {
                const int place = atLevels ? model.selectedLevel() : model.selectedButton();
                seesSelected |= area.kind == (atLevels ? What::Level : What::Button) && area.place == place;
                for (int row = area.row; row < area.row + area.rows; ++row) {
                    for (int column = area.column; column < area.column + area.columns; ++column) {
                        QVERIFY(row >= 0 && row < rows && column >= 0 && column < columns);
                        QCOMPARE(taken[row * columns + column]++, 0);
                    }
                }
            }
            QVERIFY2(seesSelected, qPrintable(QStringLiteral("%1 x %2").arg(columns).arg(rows)));
            for (int row = 0; row < rows; ++row) {
                QCOMPARE(ScreenText::columnsOf(drawn.canvas.text(row)), columns);
            }
        }
    }
}

TEST_CLASS(PanelScreenTest)
#include "PanelScreenTest.moc"
