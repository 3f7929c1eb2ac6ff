#include "inspect/Questions.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "inspect/TraceWords.h"
#include "inspect/Variables.h"
#include "runtime/ControlProgram.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>

namespace {
constexpr int kMostBytes = 32 * 1024; // before the last thing that fits

QJsonObject failed(const QString &text)
{
    return { { QStringLiteral("error"), text } };
}

QJsonObject tellTrace(ControlProgram &program, const QJsonObject &question)
{
    if (!program.state().trace().isOn()) {
        return failed(translated(
            QT_TRANSLATE_NOOP("messages", "No trace is kept: start the controller without --trace-memory 0")));
    }
    constexpr double kMostId = 1e15; // beyond it a number is no whole one
    const double after = std::clamp(question.value(QLatin1String("after")).toDouble(), 0.0, kMostId);
    return TraceWords(program).eventsAfter(static_cast<qint64>(after), kMostBytes);
}

QJsonObject tellWhy(ControlProgram &program, const QJsonObject &question)
{
    const QStringList sentences = TraceWords(program).why(question.value(QLatin1String("device")).toInt(),
                                                          question.value(QLatin1String("channel")).toInt());
    return { { QStringLiteral("sentences"), QJsonArray::fromStringList(sentences) } };
}

QJsonObject tellValues(ControlProgram &program, const QJsonObject &question)
{
    const Variables variables(program);
    const QJsonArray names = question.value(QLatin1String("names")).toArray();
    QJsonArray values;
    int bytes = 0;
    int index = std::max(question.value(QLatin1String("after")).toInt(), 0);
    for (; index < names.size() && bytes < kMostBytes; ++index) {
        const Variables::Answer answer = variables.find(names.at(index).toString());
        if (const auto *problem = std::get_if<QString>(&answer)) {
            return failed(*problem);
        }
        const QJsonObject value = variables.object(std::get<Variables::Found>(answer));
        bytes += QJsonDocument(value).toJson(QJsonDocument::Compact).size();
        values.append(value);
    }
    return { { QStringLiteral("variables"), values },
             { QStringLiteral("next"), index },
             { QStringLiteral("isAll"), index >= names.size() } };
}

QJsonObject setValue(ControlProgram &program, const QJsonObject &question)
{
    Variables variables(program);
    const Variables::Answer answer = variables.find(question.value(QLatin1String("name")).toString());
    if (const auto *problem = std::get_if<QString>(&answer)) {
        return failed(*problem);
    }
    const auto &found = std::get<Variables::Found>(answer);
    const QString value = question.value(QLatin1String("value")).toString();
    const QString problem = variables.set(found, value);
    if (!problem.isEmpty()) {
        return failed(problem);
    }
    monitorLog(MonitorMessageType::System,
               translated(QT_TRANSLATE_NOOP("messages", "A tool set %1 to %2")).arg(found.path, value.left(64)));
    return { { QStringLiteral("variables"), QJsonArray{ variables.object(found) } } };
}

QJsonObject listVariables(ControlProgram &program, const QJsonObject &question)
{
    return Variables(program).list(question.value(QLatin1String("filter")).toString(),
                                   question.value(QLatin1String("after")).toInt(), kMostBytes);
}

struct Row
{
    const char *ask;
    QJsonObject (*answer)(ControlProgram &program, const QJsonObject &question);
};
constexpr Row kRows[] = {
    { "trace", tellTrace }, { "why", tellWhy }, { "get", tellValues }, { "set", setValue }, { "vars", listVariables },
};
} // namespace

QByteArray answerQuestion(ControlProgram *program, const QByteArray &question)
{
    const QJsonObject object = QJsonDocument::fromJson(question).object();
    const QString ask = object.value(QLatin1String("ask")).toString();
    QJsonObject answer =
        failed(translated(QT_TRANSLATE_NOOP("messages", "The controller does not know this question")));
    for (const Row &row : kRows) {
        if (ask == QLatin1String(row.ask)) {
            answer = program ? row.answer(*program, object)
                             : failed(translated(QT_TRANSLATE_NOOP("messages", "No program is loaded")));
        }
    }
    answer.insert(QStringLiteral("ask"), ask);
    return QJsonDocument(answer).toJson(QJsonDocument::Compact);
}
