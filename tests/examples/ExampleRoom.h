#pragma once
#include "../e2e/ControllerProcess.h"
#include "net/client/LinkClient.h"

#include <QMap>
#include <QSet>

/// A controller with the program of an example, some of whose constants are others: addresses, ports, times.
class ExampleRoom : public ControllerProcess
{
public:
    using Constants = QMap<QString, QString>; // name to value, as it stands in the source

    /// Compiles the program of examples/. What went wrong; empty when all is well.
    QString prepare(const QString &program, const Constants &constants);
};

/// A panel that keeps what it was told, as one that is looked at.
class SeenPanel
{
public:
    explicit SeenPanel(int number);

    bool isLit(int channel) const { return m_lit.contains(channel); }
    int level(int code) const { return m_levels.value(code, -1); }
    QString status() const { return m_texts.isEmpty() ? QString() : m_texts.last(); }
    QStringList texts() const { return m_texts; } // every status so far

    void press(int channel);
    LinkClient client;

private:
    void take(const LinkMessage &message);
    void show(int channel, bool isOn);

    QSet<int> m_lit;
    QMap<int, int> m_levels;
    QStringList m_texts;
};

#define SHOWS(panel, text) QTRY_VERIFY2((panel).status() == (text), qPrintable((panel).texts().join(QLatin1Char('\n'))))
#define LIGHTS(panel, channel) QTRY_VERIFY((panel).isLit(channel))
#define DARKENS(panel, channel) QTRY_VERIFY(!(panel).isLit(channel))
