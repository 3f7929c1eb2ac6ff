#pragma once
#include "tools/arkhost/ControllerEnd.h"

#include <QByteArrayList>
#include <QDateTime>
#include <QStringList>

/// What is known about a crash.
struct CrashReport
{
    QDateTime at;
    ControllerEnd end;
    qint64 uptimeSeconds = 0;
    qint64 pauseMs = 0; // until the next start
    int starts = 0;
    int crashes = 0; // this one counts
    qint64 processId = 0;
    QString version;
    QString controller;
    QStringList arguments;
    QString objectFile;
    QByteArrayList lastLines; // of the output

    QByteArray text() const; // reads the object file for its size and digest
};

/// The folder of the reports: writes them, and keeps the newest.
class CrashReports
{
public:
    CrashReports(const QString &directory, int howMany);

    const QString &directory() const { return m_directory; }

    struct Outcome
    {
        QString path;
        QString problem; // empty: it is written
    };
    Outcome write(const CrashReport &report) const;

private:
    QString freePath(const QDateTime &at) const;
    void removeOldBeside(const QString &newest) const;

    const QString m_directory;
    const int m_howMany;
};
