#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

/// "arkc lsp" as an editor drives it: the real process, message by message. A row is what the editor does, an operation
/// a line, and what comes back:
///
///     file NAME TEXT                 on the disk; \n stands for a line end
///     open NAME TEXT                 in the editor; also: text NAME TEXT for all of it, anew
///     change NAME 0:3-0:5 TEXT       the part from line 0, character 3 on
///     save NAME, close NAME, program NAME
///     METHOD NAME 0:3 [ARGUMENT]     a question of textDocument/, a line of the reply in return
///     problems NAME                  what has been told of it by now
///     some NAME 0:3 WORDS            those of them that completion offers
///     request METHOD                 one without parameters
///     raw BYTES                      as they are, with \r and \n; the replies that they bring are "raw 1", "raw 2" …
class LspTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void answers_data();
    void answers();
    void ends_data();
    void ends();

private:
    void start(const QString &folder);
    void send(const QJsonObject &message);
    QJsonObject receive();
    QString ask(const QString &method, const QJsonObject &parameters);
    QString act(const QString &line);
    QString shown(const QJsonValue &value) const;
    QString uri(const QString &name) const;

    std::unique_ptr<QProcess> m_arkc;
    QByteArray m_received;
    QString m_folder;
    QMap<QString, QJsonValue> m_problems;
    int m_lastId = 0;
};

namespace {
QJsonObject position(const QString &text)
{
    return { { QStringLiteral("line"), text.section(QLatin1Char(':'), 0, 0).toInt() },
             { QStringLiteral("character"), text.section(QLatin1Char(':'), 1, 1).toInt() } };
}

QByteArray framed(const QByteArray &body)
{
    return "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QString unescaped(QString text)
{
    return text.replace(QStringLiteral("\\r"), QStringLiteral("\r"))
        .replace(QStringLiteral("\\n"), QStringLiteral("\n"));
}
} // namespace

QString LspTest::uri(const QString &name) const
{
    return name.contains(QLatin1Char(':')) ? name : QUrl::fromLocalFile(m_folder + QLatin1Char('/') + name).toString();
}

void LspTest::start(const QString &folder)
{
    m_folder = folder;
    m_received.clear();
    m_problems.clear();
    m_arkc = std::make_unique<QProcess>();
    m_arkc->start(QStringLiteral(ARKC), { QStringLiteral("lsp") });
    QVERIFY(m_arkc->waitForStarted());
}

void LspTest::send(const QJsonObject &message)
{
    m_arkc->write(framed(QJsonDocument(message).toJson(QJsonDocument::Compact)));
}

/// The next message but problems, which are kept; empty: none came.
QJsonObject LspTest::receive()
{
    for (;;) {
        const int head = m_received.indexOf("\r\n\r\n");
        const int length = head < 0 ? 0 : m_received.left(head).split(' ').last().toInt();
        if (head < 0 || m_received.size() < head + 4 + length) {
            if (!m_arkc->waitForReadyRead()) {
                return {};
            }
            m_received += m_arkc->readAllStandardOutput();
            continue;
        }
        QJsonObject message = QJsonDocument::fromJson(m_received.mid(head + 4, length)).object();
        m_received.remove(0, head + 4 + length);
        const QJsonObject parameters = message.value(QStringLiteral("params")).toObject();
        if (parameters.isEmpty()) {
            return message;
        }
        m_problems[parameters.value(QStringLiteral("uri")).toString()] =
            parameters.value(QStringLiteral("diagnostics"));
    }
}

/// A value on one line, without what is the same everywhere.
QString LspTest::shown(const QJsonValue &value) const
{
    if (value.isArray()) {
        QStringList items;
        const QJsonArray array = value.toArray();
        for (const QJsonValue &item : array) {
            items += shown(item);
        }
        return QStringLiteral("[%1]").arg(items.join(QStringLiteral(", ")));
    }
    const QJsonObject object = value.toObject();
    if (object.contains(QStringLiteral("start"))) {
        return shown(object.value(QStringLiteral("start"))) + QLatin1Char('-') +
               shown(object.value(QStringLiteral("end")));
    }
    if (object.contains(QStringLiteral("character"))) {
        return QStringLiteral("%1:%2")
            .arg(object.value(QStringLiteral("line")).toInt())
            .arg(object.value(QStringLiteral("character")).toInt());
    }
    if (value.isObject()) {
        QStringList members;
        for (auto member = object.begin(); member != object.end(); ++member) {
            if (member.key() != QLatin1String("jsonrpc") && member.key() != QLatin1String("source")) {
                members += shown(member.key()) + QLatin1Char(' ') + shown(member.value());
            }
        }
        return QStringLiteral("{%1}").arg(members.join(QStringLiteral(", ")));
    }
    QString text = value.isNull() ? QStringLiteral("null") : value.toVariant().toString();
    return text.remove(uri(QString())).replace(QLatin1Char('\n'), QLatin1String("\\n"));
}

QString LspTest::ask(const QString &method, const QJsonObject &parameters)
{
    send({ { QStringLiteral("id"), ++m_lastId },
           { QStringLiteral("method"), method },
           { QStringLiteral("params"), parameters } });
    const QJsonObject reply = receive();
    if (reply.value(QStringLiteral("id")) != m_lastId) {
        return QStringLiteral("not answered: ") + shown(reply);
    }
    return shown(reply.contains(QStringLiteral("error")) ? reply.value(QStringLiteral("error"))
                                                         : reply.value(QStringLiteral("result")));
}

QString LspTest::act(const QString &line)
{
    const QString word = line.section(QLatin1Char(' '), 0, 0);
    const QString name = line.section(QLatin1Char(' '), 1, 1);
    const QString rest = unescaped(line.section(QLatin1Char(' '), 2));
    const QString place = line.section(QLatin1Char(' '), 2, 2);
    const QString argument = unescaped(line.section(QLatin1Char(' '), 3));
    const QJsonObject document{ { QStringLiteral("uri"), uri(name) } };
    const auto notify = [this](const char *method, const QJsonObject &parameters) {
        send({ { QStringLiteral("method"), QString::fromLatin1(method) }, { QStringLiteral("params"), parameters } });
        return QString();
    };
    if (word == QLatin1String("file")) {
        writeFile(m_folder + QLatin1Char('/') + name, rest.toUtf8());
        return {};
    }
    if (word == QLatin1String("open")) {
        return notify("textDocument/didOpen",
                      { { QStringLiteral("textDocument"),
                          QJsonObject{ { QStringLiteral("uri"), uri(name) }, { QStringLiteral("text"), rest } } } });
    }
    if (word == QLatin1String("text") || word == QLatin1String("change")) {
        QJsonObject change{ { QStringLiteral("text"), word == QLatin1String("text") ? rest : argument } };
        if (word == QLatin1String("change")) {
            change.insert(QStringLiteral("range"),
                          QJsonObject{ { QStringLiteral("start"), position(place.section(QLatin1Char('-'), 0, 0)) },
                                       { QStringLiteral("end"), position(place.section(QLatin1Char('-'), 1, 1)) } });
        }
        return notify("textDocument/didChange", { { QStringLiteral("textDocument"), document },
                                                  { QStringLiteral("contentChanges"), QJsonArray{ change } } });
    }
    if (word == QLatin1String("close") || word == QLatin1String("save")) {
        return notify(word == QLatin1String("close") ? "textDocument/didClose" : "textDocument/didSave",
                      { { QStringLiteral("textDocument"), document } });
    }
    if (word == QLatin1String("program")) {
        const QJsonObject setting{ { QStringLiteral("program"), QString(m_folder + QLatin1Char('/') + name) } };
        return notify("workspace/didChangeConfiguration",
                      { { QStringLiteral("settings"), QJsonObject{ { QStringLiteral("arkivon"), setting } } } });
    }
    if (word == QLatin1String("problems")) {
        ask(QStringLiteral("textDocument/hover"), { { QStringLiteral("textDocument"), document } });
        return shown(m_problems.value(uri(name)));
    }
    if (word == QLatin1String("raw")) {
        m_arkc->write(unescaped(line.mid(4)).toLatin1());
        const QJsonObject reply = receive();
        return shown(reply.value(QStringLiteral("id"))) + QLatin1Char(' ') +
               shown(reply.contains(QStringLiteral("error")) ? reply.value(QStringLiteral("error"))
                                                             : reply.value(QStringLiteral("result")));
    }
    if (word == QLatin1String("some")) {
        const QString offered =
            ask(QStringLiteral("textDocument/completion"),
                { { QStringLiteral("textDocument"), document }, { QStringLiteral("position"), position(place) } });
        QStringList found;
        for (const QString &wanted : argument.split(QLatin1Char(' '))) {
            found += offered.contains(QStringLiteral("label %1}").arg(wanted)) ? QStringList(wanted) : QStringList();
        }
        return found.join(QLatin1Char(' '));
    }
    if (word == QLatin1String("request")) {
        return ask(name, {});
    }
    return ask(QStringLiteral("textDocument/") + word, { { QStringLiteral("textDocument"), document },
                                                         { QStringLiteral("position"), position(place) },
                                                         { QStringLiteral("newName"), argument } });
}

void LspTest::answers_data()
{
    const Table<QString, QString> row("editor", "replies");
    row("problems come and go as the text changes, as arkc check says them",
        "open a.src integer n\\nstart { n = m }\nproblems a.src\nchange a.src 1:12-1:13 1 / 0\nproblems a.src\n"
        "text a.src  \nproblems a.src\nclose a.src\nproblems a.src",
        "[{code unknown-name, message unknown name 'm', range 1:12-1:13, severity 1}]\n"
        "[{code zero-divisor, message division by 0: it is reported, and the result is 0, range 1:16-1:17, severity "
        "2}]\n"
        "[{code unreadable, message the file is empty; a program has at least a declaration or an event, range "
        "0:0-0:0, "
        "severity 1}]\n[]");
    row("places count UTF-16 units, line ends of each kind, and end with the text",
        "open a.src char s[9]\\r\\nstart { s = '\U0001f600\U0001f600'; s = m }\nproblems a.src\n"
        "change a.src 1:13-1:15 x\nchange a.src 9:9-99:99 \\n//\nchange a.src 1:99-1:99  // end\n"
        "problems a.src\nhover a.src 0:99\nhover a.src 99:0\nhover a.src 1:8\nformatting a.src 0:0",
        "[{code unknown-name, message unknown name 'm', range 1:24-1:25, severity 1}]\n"
        "[{code unknown-name, message unknown name 'm', range 1:23-1:24, severity 1}]\nnull\nnull\n"
        "{contents {kind markdown, value ```arkivon\\nchar s[9]\\n```\\n}, range 1:8-1:9}\n"
        "[{newText char s[9]\\nstart { s = 'x\U0001f600'; s = m }  // end\\n//\\n, range 0:0-2:2}]");
    row("an include is read as the editor has it, and told where it is wrong",
        "file part.src integer nPart = 1\\n\nopen room.src include 'part.src'\\nstart { nPart = 2 }\n"
        "definition room.src 1:9\nopen part.src integer nPart = x\\n\nproblems room.src\nproblems part.src\n"
        "rename part.src 0:9 nWhole\nclose part.src\nproblems part.src\ndefinition part.src 0:9\n"
        "file part.src integer nPart = y\nsave room.src\nproblems part.src",
        "{range 0:8-0:13, uri part.src}\n[]\n[{code unknown-name, message unknown name 'x', range 0:16-0:17, severity "
        "1}]\n"
        "{changes {part.src [{newText nWhole, range 0:8-0:13}], room.src [{newText nWhole, range 1:8-1:13}]}}\n[]\n"
        "{code -32602, message 'part.src' is not open}\n[{code unknown-name, message unknown name 'y', range "
        "0:16-0:17, severity 1}]");
    row("a part that is open alone belongs to the program beside it, or the one that is set",
        "file a.src include 'part.src'\\ninteger nOther\\nstart { nOther = nPart }\n"
        "open part.src integer nPart = 1\\nfunction Use() { nOther = 1 }\nproblems part.src\nreferences part.src 0:9\n"
        "file sub/z.src include '../part.src'\\nstart { nPart = 0 }\nprogram sub/z.src\nproblems part.src\n"
        "references part.src 0:9\nproblems sub/z.src\nclose part.src\nopen sub/z.src start { }\nproblems part.src",
        "[]\n[{range 2:17-2:22, uri a.src}, {range 0:8-0:13, uri part.src}]\n"
        "[{code unknown-name, message unknown name 'nOther', range 1:17-1:23, severity 1}]\n"
        "[{range 1:8-1:13, uri sub/z.src}, {range 0:8-0:13, uri part.src}]\nnull\n[]");
    row("sources that include each other are one program",
        "open a.src include 'b.src'\\ninteger a\\nstart { a = b }\nopen b.src include 'a.src'\\ninteger b = 1\n"
        "problems a.src\nproblems b.src\nreferences a.src 1:8",
        "[]\n[]\n[{range 1:8-1:9, uri a.src}, {range 2:8-2:9, uri a.src}]");
    row("what a name means",
        "open a.src struct In { integer port }\\nIn inputs[2]\\n// Adds.\\n/* Not\\n * more. */\\nfunction integer "
        "Add(integer n, In to)\\n{\\n    stack_var integer n2 = n\\n    to.port = n2\\n    return n2\\n}\\n"
        "button_event [10001:1:0, 1] {\\n"
        "    push: { inputs[1].port = Add(button.input.channel, inputs[2]); [5001:1:0, true] = abs_value(1) }\\n}\n"
        "hover a.src 12:12\nhover a.src 12:22\nhover a.src 12:29\nhover a.src 7:29\nhover a.src 12:33\nhover a.src "
        "12:46\n"
        "hover a.src 12:79\nhover a.src 12:90\nhover a.src 2:4\nreferences a.src 0:8\nreferences a.src 12:24\n"
        "definition a.src 9:12\ndefinition a.src 12:88\ndocumentSymbol a.src 0:0",
        "{contents {kind markdown, value ```arkivon\\nIn inputs[2]\\n```\\n}, range 12:12-12:18}\n"
        "{contents {kind markdown, value ```arkivon\\ninteger port  // struct In\\n```\\n}, range 12:22-12:26}\n"
        "{contents {kind markdown, value ```arkivon\\nfunction integer Add(integer n, In "
        "to)\\n```\\nAdds.\\nNot\\nmore.}, range 12:29-12:32}\n"
        "{contents {kind markdown, value ```arkivon\\ninteger n\\n```\\n}, range 7:27-7:28}\n"
        "{contents {kind markdown, value ```arkivon\\nthe data of a button event\\n```\\n}, range 12:33-12:39}\n"
        "{contents {kind markdown, value ```arkivon\\ninteger channel\\n```\\n}, range 12:46-12:53}\n"
        "{contents {kind markdown, value ```arkivon\\nconst char true\\n```\\n}, range 12:78-12:82}\n"
        "{contents {kind markdown, value ```arkivon\\nabs_value(double x): double\\n```\\nThe number without its sign. "
        "Reports nothing.}, range 12:86-12:95}\n"
        "null\n"
        "[{range 0:7-0:9, uri a.src}, {range 1:0-1:2, uri a.src}, {range 5:32-5:34, uri a.src}]\n"
        "[{range 0:20-0:24, uri a.src}, {range 8:7-8:11, uri a.src}, {range 12:22-12:26, uri a.src}]\n"
        "{range 7:22-7:24, uri a.src}\n"
        "null\n"
        "[{children [{kind 8, name port, range 0:12-0:24, selectionRange 0:20-0:24}], kind 23, name In, range "
        "0:0-0:26, selectionRange 0:7-0:9}, {kind 13, name inputs, range 1:0-1:12, selectionRange 1:3-1:9}, {kind 12, "
        "name Add, range 5:0-10:1, selectionRange 5:17-5:20}, {children [{kind 24, name push, range 12:4-12:100, "
        "selectionRange 12:4-12:8}], kind 24, name button_event [10001:1:0, 1], range 11:0-13:1, selectionRange "
        "11:0-11:12}]");
    row("completion knows the place",
        "open a.src struct In { integer port }\\nIn room\\nfunction F(integer nP) { stack_var integer nL\\n  \\n  "
        "room.\\n}\\n"
        "start { }\nsome a.src 3:2 nP nL room F In port abs_value true while button\nsome a.src 6:8 nP nL room port\n"
        "completion a.src 4:7\nchange a.src 4:2-4:7 room.po\ncompletion a.src 4:9\nchange a.src 4:2-4:9 x = 1..\n"
        "some a.src 4:9 room\ncompletion a.src 4:8",
        "nP nL room F In abs_value true while button\nroom\n[{detail integer port, kind 5, label port}]\n"
        "[{detail integer port, kind 5, label port}]\nroom\n[]");
    row("a rename goes through all programs that share a file, or through none",
        "open a.src integer n\\ninclude 'c.src'\nopen b.src integer n\\ninclude 'c.src'\n"
        "open c.src integer m = 1\\nstart { n = m }\nrename a.src 0:8 x\nrename c.src 0:8 x\nreferences a.src 0:8",
        "{code -32803, message b.src: unknown name 'x'}\n"
        "{changes {c.src [{newText x, range 0:8-0:9}, {newText x, range 1:12-1:13}]}}\n"
        "[{range 0:8-0:9, uri a.src}, {range 1:8-1:9, uri c.src}]");
    row("a name that would mean something else is refused",
        "open a.src integer a\\ninteger b\\nstruct S { integer a }\\nfunction F(integer p) { a = p; b = c }\\nstart { "
        "F(1); "
        "a = itoa(2) }\n"
        "rename a.src 0:8 while\nrename a.src 0:8 9x\nrename a.src 0:8 \nrename a.src 0:8 B\nrename a.src 0:8 true\n"
        "rename a.src 0:8 p\nrename a.src 0:8 c\nrename a.src 3:19 a\nrename a.src 4:19 x\nrename a.src 4:4 x\n"
        "prepareRename a.src 4:20\nprepareRename a.src 4:14\nrename a.src 2:19 while\nrename a.src 3:24 A",
        "{code -32803, message 'while' is a word of the language}\n"
        "{code -32803, message '9x' is no name}\n"
        "{code -32803, message '' is no name}\n"
        "{code -32803, message 'b' is already defined (line 1)}\n"
        "{code -32803, message 'true' is already defined by the system}\n"
        "{code -32803, message 'p' is taken: somewhere it would mean another thing}\n"
        "{code -32803, message 'c' is taken: somewhere it would mean another thing}\n"
        "{code -32803, message 'a' is taken: somewhere it would mean another thing}\n"
        "{code -32803, message 'itoa' is a function of the library}\n"
        "{code -32803, message no name of the program stands here}\n"
        "{code -32803, message 'itoa' is a function of the library}\n"
        "{placeholder a, range 4:14-4:15}\n"
        "{changes {a.src [{newText while, range 2:19-2:20}]}}\n"
        "{changes {a.src [{newText A, range 0:8-0:9}, {newText A, range 3:24-3:25}, {newText A, range 4:14-4:15}]}}");
    row("nonsense is answered, and harms nobody",
        "request initialize\nrequest no/such\nraw Content-Length: 2\\r\\n\\r\\n{}\n"
        "raw Content-Length: 4\\r\\n\\r\\n{\xff\xff}\nraw Content-Length: 99999999999\\r\\n\\r\\n\n"
        "raw nothing at all\\r\\n\\r\\n\nraw Content-Length: 2\\r\\n\\r\\n{\"id\":[[]]}Content-Length: "
        "18\\r\\n\\r\\n\nraw {\"id\":[[]]       }\n"
        "raw Content-Length: -5\\r\\n\\r\\n\n"
        "raw Content-Length: "
        "66\\r\\n\\r\\n{\"id\":7,\"method\":\"textDocument/hover\",\"params\":[{\"position\":\"x\"}]}\n"
        "hover none.src 0:0\nchange none.src 0:0-1:1 x\nclose none.src\nopen a.src start { }\nclose a.src\nclose "
        "a.src\n"
        "formatting a.src 0:0\nopen untitled:new start {\nformatting untitled:new 0:0\nproblems untitled:new\n"
        "change untitled:new 0:7-99:0 }\nproblems untitled:new",
        "{code -32600, message 'initialize' comes too late}\n"
        "{code -32601, message 'no/such' is not offered}\n"
        "null {code -32600, message no request}\n"
        "null {code -32700, message no JSON message}\n"
        "null {code -32700, message no JSON message}\n"
        "null {code -32700, message no JSON message}\n"
        "null {code -32700, message no JSON message}\n"
        "null {code -32600, message no request}\n"
        "null {code -32700, message no JSON message}\n"
        "7 {code -32602, message '' is not open}\n"
        "{code -32602, message 'none.src' is not open}\n"
        "{code -32602, message 'a.src' is not open}\n"
        "{code -32803, message untitled:new:1:7: error: this '{' is not closed}\n"
        "[{code unclosed-bracket, message this '{' is not closed before end of file, range 0:6-0:7, severity 1}]\n"
        "[]");
}

void LspTest::answers()
{
    QFETCH(QString, editor);
    QFETCH(QString, replies);
    const QTemporaryDir folder;
    start(QFileInfo(folder.path()).canonicalFilePath());
    ask(QStringLiteral("initialize"), {});
    QStringList got;
    for (const QString &line : editor.split(QLatin1Char('\n'))) {
        const QString reply = act(line.trimmed());
        got += reply.isEmpty() ? QStringList() : QStringList(reply);
    }
    ask(QStringLiteral("shutdown"), {});
    send({ { QStringLiteral("method"), QStringLiteral("exit") } });
    QVERIFY(m_arkc->waitForFinished());
    QCOMPARE(got, replies.split(QLatin1Char('\n')));
    QCOMPARE(m_arkc->exitCode(), 0);
}

void LspTest::ends_data()
{
    const Table<QByteArray, int> row("bytes", "status");
    row("exit alone", framed("{\"method\":\"exit\"}"), 1);
    row("nothing", "", 1);
    row("half a frame", "Content-Length: 10\r\n\r\n{", 1);
    row("exit behind a shutdown",
        framed("{\"id\":1,\"method\":\"initialize\"}") + framed("{\"id\":2,\"method\":\"shutdown\"}") +
            framed("{\"method\":\"exit\"}"),
        0);
}

void LspTest::ends()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, status);
    start({});
    m_arkc->write(bytes);
    m_arkc->closeWriteChannel();
    QVERIFY(m_arkc->waitForFinished());
    QCOMPARE(m_arkc->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_arkc->exitCode(), status);
}

TEST_CLASS(LspTest)
#include "LspTest.moc"
