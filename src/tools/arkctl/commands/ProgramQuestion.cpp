#include "tools/arkctl/commands/ProgramQuestion.h"
#include "tools/arkctl/Rendering.h"

ProgramQuestion::ProgramQuestion(const RunOptions &options)
    : LinkRun(tool(), options)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        const QByteArray start = "program:";
        if (message.kind != LinkMessage::Kind::TextReply || !message.body.startsWith(start)) {
            return;
        }
        const Json answer = Json::parse(message.body.mid(start.size()).toStdString(), nullptr, false);
        if (!answer.is_object() || answer.value("ask", std::string()) != m_asked) {
            return;
        }
        m_asked.clear();
        answered();
        if (answer.contains("error")) {
            fail(Rendering::escaped(QByteArray::fromStdString(answer.value("error", std::string()))),
                 "arkctl vars shows the variables, arkctl info the program");
            return;
        }
        take(answer);
    });
}

void ProgramQuestion::ask(const Json &question)
{
    m_asked = question.value("ask", std::string());
    client().sendTextCommand("program?" + QByteArray::fromStdString(dump(question)));
    awaitAnswer();
}

void ProgramQuestion::unanswered()
{
    fail("the controller at " + options().endpoint.text() + " does not answer",
         "its program may be busy, which arkctl monitor says, or it is of an older version");
}
