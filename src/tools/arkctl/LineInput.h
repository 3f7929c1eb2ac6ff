#pragma once
#include <QByteArray>
#include <QObject>

#include <string>

class QSocketNotifier;

/// The lines of standard input, one for each time it is asked: what is not asked for waits where it is.
/// Owns: a notifier (Qt child). Thread: the main thread. Ends: with its parent.
class LineInput : public QObject
{
    Q_OBJECT
public:
    explicit LineInput(QObject *parent);

    int lineNumber() const { return m_lineNumber; } // of the last line told
    void ask();                                     // one signal follows, now or later

Q_SIGNALS:
    void line(const std::string &text); // without its end
    void ended();
    void failed(const std::string &why);

private:
    void readMore();
    bool tellLine();

    QSocketNotifier *m_notifier = nullptr; // Qt child
    QByteArray m_waiting;
    int m_lineNumber = 0;
    bool m_isAtEnd = false;
};
