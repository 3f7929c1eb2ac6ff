#pragma once
#include "tools/arkc/lsp/Answers.h"

#include <functional>

namespace arkc {
/// Answers an editor by the Language Server Protocol (3.17), message by message. Knows no stream.
/// Owns: what the editor has open. Thread: the main thread. Ends: with the stream, or when the editor says so.
class LanguageServer
{
public:
    using Send = std::function<void(const Json &message)>;
    explicit LanguageServer(Send send)
        : m_send(std::move(send))
    {}

    void take(const QByteArray &message); // null: bytes that were none
    /// Nothing more is waiting: reads what has changed, once for all changes, and tells the problems that are new.
    void settle();
    bool hasEnded() const { return m_state == State::Ended; }
    bool wasShutDown() const { return m_wasShutDown; } // as the protocol wants it, before the end

private:
    using Question = Answer (*)(const AskedPlace &asked, const Json &parameters);
    struct Request
    {
        const char *method;
        Answer (LanguageServer::*answer)(const Json &parameters); // or, about a place
        Question question;
    };
    struct Notification
    {
        const char *method;
        void (LanguageServer::*take)(const Json &parameters);
    };
    static const Request kRequests[];
    static const Notification kNotifications[];

    Answer answerTo(const QString &method, const Json &parameters);
    Answer ask(Question question, const Json &parameters);
    Answer initialize(const Json &parameters);
    Answer shutdown(const Json &parameters);
    Answer format(const Json &parameters);

    void exit(const Json &parameters);
    void open(const Json &parameters);
    void change(const Json &parameters);
    void close(const Json &parameters);
    void filesChanged(const Json &parameters);
    void configure(const Json &parameters);

    void setMainProgram(const QString &path);
    void publish();
    void notify(const QString &method, const Json &parameters);

    enum class State { New, Running, ShutDown, Ended };
    Send m_send;
    State m_state = State::New;
    bool m_wasShutDown = false;
    QString m_folder; // that the editor has open
    OpenPrograms m_open;
    std::map<QString, Json> m_published; // problems by URI
};
} // namespace arkc
