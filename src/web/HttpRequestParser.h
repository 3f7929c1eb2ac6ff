#pragma once
#include "web/HttpBody.h"
#include "web/HttpRequest.h"
#include "web/HttpSettings.h"

/// Cuts one request out of a byte stream. Knows no socket and no clock.
/// Owns: the request. Thread: that of its connection. Ends: with it.
class HttpRequestParser
{
public:
    enum class State { RequestLine, Headers, Body, Complete, Aborted };

    explicit HttpRequestParser(const HttpSettings &limits); // they outlive it

    State state() const { return m_state; }
    HttpRefusal refusal() const { return m_refusal; }        // why it was aborted
    const HttpRequest &request() const { return m_request; } // whole when complete
    bool hasBegun() const;                                   // a byte of it has come
    bool isContinueWanted() const;                           // the client waits for a word before it sends the body

    /// Takes the next bytes, in pieces of any size; how many. The rest belongs to the next request, or was in vain.
    int feed(const char *bytes, int count);
    void reset(); // for the next request

private:
    int takeLine(const char *bytes, int count);
    void readLine(int start, int size);
    void readRequestLine(std::string_view line, int start);
    void readHeader(std::string_view line, int start);
    void readPath();
    void endOfHead();
    HttpRefusal checkFraming() const;
    void beginBody();
    std::optional<QByteArray> multipartBoundary() const;
    void endOfBody();
    void readParameters();
    void abort(HttpRefusal refusal, const char *why);

    const HttpSettings &m_limits;
    State m_state = State::RequestLine;
    HttpRefusal m_refusal = HttpRefusal::None;
    HttpRequest m_request;
    HttpBody m_body;
    int m_lineStart = 0; // in the request's head
    bool m_hasBodyBytes = false;
};
