#pragma once
#include "base/Descriptor.h"

#include <QByteArray>
#include <QString>
#include <QtTest>

#include <cstdlib>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

/// The far end of a serial line, a pseudo-terminal: the near end is a device file.
class SerialPeer
{
public:
    SerialPeer()
        : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        ::grantpt(m_master.get());
        ::unlockpt(m_master.get());
        termios raw{};
        ::tcgetattr(m_master.get(), &raw);
        ::cfmakeraw(&raw);
        ::tcsetattr(m_master.get(), TCSANOW, &raw);
    }

    QString deviceFile() const { return QString::fromLatin1(::ptsname(m_master.get())); }
    void hangUp() { m_master.close(); }
    int sendSome(const QByteArray &bytes) // how many the line has taken
    {
        return static_cast<int>(qMax<ssize_t>(0, ::write(m_master.get(), bytes.constData(), size_t(bytes.size()))));
    }
    void send(const QByteArray &bytes)
    {
        for (int sent = 0; sent < bytes.size();) {
            const int count = sendSome(bytes.mid(sent, 4096));
            sent += count;
            if (count == 0) {
                QTest::qWait(1); // the line is full; it is read meanwhile
            }
        }
    }
    QByteArray receive() // what is there
    {
        QByteArray all;
        char bytes[4096];
        for (ssize_t count = 0; (count = ::read(m_master.get(), bytes, sizeof bytes)) > 0;) {
            all.append(bytes, static_cast<int>(count));
        }
        return all;
    }

private:
    Descriptor m_master;
};
