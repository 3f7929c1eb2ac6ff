#include "support/ScriptedProgram.h"

#include "compiler/Compiler.h"
#include "inspect/Questions.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDataStream>
#include <QJsonArray>
#include <QJsonDocument>

Player::Player(QByteArray objectFile, Clock &clock, Reports reports)
    : m_clock(clock)
    , m_objectFile(std::move(objectFile))
    , m_reports(reports)
{
    load();
}

void Player::happen(const QString &line)
{
    const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QString what = words.value(0);
    Dispatcher &dispatcher = m_program->dispatcher();
    if (what == QLatin1String("push")) {
        dispatcher.press(words.value(1).toInt(), words.value(2).toInt());
    } else if (what == QLatin1String("release")) {
        dispatcher.release(words.value(1).toInt(), words.value(2).toInt());
    } else if (what == QLatin1String("level")) {
        dispatcher.changeLevel(words.value(1).toInt(), words.value(2).toInt(), words.value(3).toInt());
    } else if (what == QLatin1String("tick")) {
        m_clock.advance(words.value(1).toInt());
    } else if (what == QLatin1String("mainline")) {
        dispatcher.runMainlinePass();
        QCoreApplication::sendPostedEvents(&dispatcher);
    } else if (what == QLatin1String("state")) {
        m_devices.channelState = words.value(1).toInt();
    } else if (what == QLatin1String("absent")) {
        m_devices.unansweredMs = 600;
    } else if (what == QLatin1String("reload")) {
        load();
    } else if (what == QLatin1String("trace")) {
        tellTrace();
    } else if (what == QLatin1String("why")) {
        for (const QJsonValue &sentence : ask({ { QStringLiteral("ask"), what },
                                                { QStringLiteral("device"), words.value(1).toInt() },
                                                { QStringLiteral("channel"), words.value(2).toInt() } })
                                              .value(QLatin1String("sentences"))
                                              .toArray()) {
            m_devices.lines << sentence.toString();
        }
    } else if (what == QLatin1String("get") || what == QLatin1String("vars") || what == QLatin1String("set")) {
        const QJsonObject answer = ask({ { QStringLiteral("ask"), what },
                                         { QStringLiteral("filter"), words.value(1) },
                                         { QStringLiteral("name"), words.value(1) },
                                         { QStringLiteral("value"), words.mid(2).join(QLatin1Char(' ')) },
                                         { QStringLiteral("names"), QJsonArray::fromStringList(words.mid(1)) } });
        for (const QJsonValue &variable : answer.value(QLatin1String("variables")).toArray()) {
            m_devices.lines << QString::fromUtf8(QJsonDocument(variable.toObject()).toJson(QJsonDocument::Compact));
        }
        if (answer.contains(QLatin1String("error"))) {
            m_devices.lines << answer.value(QLatin1String("error")).toString();
        }
    } else {
        raiseData(what, words.value(1), line.section(QLatin1Char(' '), 2));
    }
}

QJsonObject Player::ask(const QJsonObject &question)
{
    return QJsonDocument::fromJson(answerQuestion(m_program.get(), QJsonDocument(question).toJson())).object();
}

void Player::tellTrace()
{
    const QJsonObject answer =
        ask({ { QStringLiteral("ask"), QStringLiteral("trace") }, { QStringLiteral("after"), m_traced } });
    m_traced = answer.value(QLatin1String("next")).toDouble();
    for (const QJsonValue &one : answer.value(QLatin1String("events")).toArray()) {
        const QJsonObject event = one.toObject();
        const bool isNested = event.value(QLatin1String("isNested")).toBool();
        const QString cause = event.value(QLatin1String("causeText")).toString();
        m_devices.lines << (isNested ? QStringLiteral("> ") : QString()) +
                               event.value(QLatin1String("text")).toString() +
                               (cause.isEmpty() ? cause : QStringLiteral(" from ") + cause);
        for (const QJsonValue &miss : event.value(QLatin1String("misses")).toArray()) {
            m_devices.lines << QStringLiteral("  miss: ") + miss.toString();
        }
        for (const QJsonValue &two : event.value(QLatin1String("steps")).toArray()) {
            const QJsonObject step = two.toObject();
            const int count = step.value(QLatin1String("count")).toInt();
            const QString line = step.value(QLatin1String("place")).toString().section(QLatin1Char(':'), 1);
            m_devices.lines << QStringLiteral("  ") + step.value(QLatin1String("text")).toString() +
                                   (count > 1 ? QStringLiteral(" %1*").arg(count) : QString()) +
                                   (line.isEmpty() ? line : QLatin1Char(' ') + line);
        }
    }
}

void Player::load()
{
    m_program.reset();
    m_program = std::make_unique<ControlProgram>(m_directory.path());
    const auto note = [this](const char *kind, const QString &text) {
        m_devices.lines << QStringLiteral("%1: %2").arg(QLatin1String(kind), text);
    };
    if (m_reports == Reports::AsOperatorsSee) {
        m_program->onReport = [note](ErrorReports::Kind kind, const QString &text) {
            static const char *const kinds[] = { "error", "warning", "log", "log", "log", "log" };
            note(kinds[static_cast<size_t>(kind)], text);
        };
    } else {
        const AST *tree = &m_program->tree();
        QObject::connect(tree, &AST::error, tree, [note](const QString &text) { note("error", text); });
        QObject::connect(tree, &AST::warning, tree, [note](const QString &text) { note("warning", text); });
    }
    m_program->setDevices(&m_devices);
    QDataStream stream(m_objectFile);
    if (!m_program->load(stream)) {
        m_devices.lines << QStringLiteral("the object file does not load");
    }
    m_program->dispatcher().runStartBlock();
}

void Player::raiseData(const QString &what, const QString &address, const QString &text)
{
    static const QHash<QString, EventType> types = { { QStringLiteral("online"), EventType::Online },
                                                     { QStringLiteral("offline"), EventType::Offline },
                                                     { QStringLiteral("string"), EventType::String },
                                                     { QStringLiteral("error"), EventType::Error } };
    const QStringList parts = address.split(QLatin1Char(':'));
    CustomEvent event;
    event.type = types.value(what, EventType::Command);
    event.device = { parts.value(0).toInt(), parts.value(1).toInt(), parts.value(2).toInt() };
    DataFields fields;
    if (event.type == EventType::Error) {
        event.errorCode = text.toInt();
        fields.number = event.errorCode;
    } else {
        event.data = fields.text = QString(text).replace(QStringLiteral("\\r"), QStringLiteral("\r")).toLatin1();
    }
    m_program->dispatcher().raiseData(event, fields);
}

QString ScriptedProgram::play(const QString &source)
{
    const CompileResult compiled = compileSource(source);
    if (!compiled.isGood()) {
        return compiled.text();
    }
    QStringList expected;
    QStringList seen;
    Clock clock(Clock::Drive::ByHand);
    const bool withPlaces = source.contains(QLatin1String("//! places"));
    Player player(compiled.objectFile + (withPlaces ? compiled.places : QByteArray()), clock,
                  Player::Reports::AsOperatorsSee);
    seen += player.takeLines();
    for (const QString &line : source.split(QLatin1Char('\n'))) {
        const QString text = line.trimmed();
        if (text.startsWith(QLatin1String("//="))) {
            expected << text.mid(4);
        } else if (text.startsWith(QLatin1String("//!")) && text != QLatin1String("//! places")) {
            const QString what = text.mid(3).trimmed();
            expected << QStringLiteral("! ") + what;
            seen << QStringLiteral("! ") + what;
            player.happen(what);
            seen += player.takeLines();
        }
    }
    seen.replaceInStrings(QStringLiteral("\r"), QStringLiteral("\\r"));
    if (seen == expected) {
        return QString();
    }
    int same = 0; // lines before the first difference
    while (same < std::min(seen.size(), expected.size()) && seen.at(same) == expected.at(same)) {
        ++same;
    }
    constexpr int kShown = 20;
    const auto rest = [same](const QStringList &lines) { return lines.mid(same, kShown).join(QStringLiteral("\n  ")); };
    return QStringLiteral("after %1 lines expected:\n  %2\nseen:\n  %3\n")
        .arg(QString::number(same), rest(expected), rest(seen));
}
