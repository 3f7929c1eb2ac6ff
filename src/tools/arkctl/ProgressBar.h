#pragma once
#include <QElapsedTimer>

#include <string>

/// How far a transfer is, in one line on standard error; silent where that is no terminal.
/// Owns: the line it is drawn on, until clear(). Thread: one. Ends: with the transfer.
class ProgressBar
{
public:
    ProgressBar();
    ~ProgressBar() { clear(); }
    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;

    void begin(const std::string &name, qint64 size); // size 0: not known yet
    void show(qint64 done, qint64 size);              // at most ten times a second
    void clear();
    double seconds() const { return static_cast<double>(m_sinceBegin.elapsed()) / 1000; }

private:
    const bool m_isVisible;
    bool m_isDrawn = false;
    std::string m_name;
    QElapsedTimer m_sinceBegin;
    qint64 m_drawnMs = 0;
};

/// "12.3 MB" and the like.
std::string byteText(double bytes);
