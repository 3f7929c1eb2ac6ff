#include "support/ScriptedProgram.h"

#include "compiler/Compiler.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDataStream>
#include <QRegularExpression>

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
    } else {
        raiseData(what, words.value(1), line.section(QLatin1Char(' '), 2));
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
            note(kind == ErrorReports::Kind::Error ? "error" : "warning", text);
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
    constexpr int kShown = 8;
    const auto rest = [same](const QStringList &lines) { return lines.mid(same, kShown).join(QStringLiteral("\n  ")); };
    return QStringLiteral("after %1 lines expected:\n  %2\nseen:\n  %3\n")
        .arg(QString::number(same), rest(expected), rest(seen));
}
