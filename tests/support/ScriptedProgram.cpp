#include "support/ScriptedProgram.h"

#include "compiler/Compiler.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDataStream>
#include <QRegularExpression>

Player::Player(QByteArray objectFile, Clock &clock)
    : m_clock(clock)
    , m_objectFile(std::move(objectFile))
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
    AST &tree = m_program->tree();
    QObject::connect(&tree, &AST::error, &tree,
                     [this](const QString &text) { m_devices.lines << QStringLiteral("error: ") + text; });
    QObject::connect(&tree, &AST::warning, &tree,
                     [this](const QString &text) { m_devices.lines << QStringLiteral("warning: ") + text; });
    m_program->state().setDevices(&m_devices);
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
    Player player(compiled.objectFile, clock);
    seen += player.takeLines();
    for (const QString &line : source.split(QLatin1Char('\n'))) {
        const QString text = line.trimmed();
        if (text.startsWith(QLatin1String("//="))) {
            expected << text.mid(4);
        } else if (text.startsWith(QLatin1String("//!"))) {
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
    return QStringLiteral("expected:\n  %1\nseen:\n  %2\n")
        .arg(expected.join(QStringLiteral("\n  ")), seen.join(QStringLiteral("\n  ")));
}
