#pragma once
#include "web/HttpRequestHandler.h"
#include "web/HttpRequestParser.h"

/// One client's requests and our answers, in order, without the socket: which bytes go out, whether more are wanted,
/// and when it is over. The transport moves the bytes and passes the times in.
/// Owns: the request being read, the bytes behind it, the output. Thread: that of its connection. Ends: with it.
class HttpConversation
{
public:
    HttpConversation(const HttpSettings &settings, HttpRequestHandler &handler, qint64 nowMs); // they outlive it

    HttpOutput &output() { return m_output; }
    bool wantsInput() const { return mayServe() && m_input.isEmpty(); }
    bool isOver() const { return m_isClosing && m_output.isEmpty(); } // all is said: close the connection
    bool isTimedOut(qint64 nowMs) const;
    /// It has been in the middle of a request or an answer for long, and the client has done hardly anything.
    bool isStalling(qint64 nowMs) const;

    void receive(const char *bytes, int count, qint64 nowMs);
    void endOfInput();       // the client says no more; what was asked is still answered
    void sent(qint64 nowMs); // some of the output has gone; a further request may be served now
    void drop();             // all is lost: over at once

private:
    bool mayServe() const;
    int serve(const char *bytes, int count, qint64 nowMs);
    void answer();
    void callHandler(HttpResponse &response);
    void refuse();

    const HttpSettings &m_settings;
    HttpRequestHandler &m_handler;
    HttpRequestParser m_parser;
    HttpOutput m_output;
    OutBuffer m_input; // requests that wait until the answers before them are on their way
    bool m_isClosing = false;
    bool m_isInputOver = false;
    qint64 m_timerMs;          // since when the client may be silent
    qint64 m_requestMs = 0;    // when the first byte of the request came
    qint64 m_requestBytes = 0; // of the request that have come
};
