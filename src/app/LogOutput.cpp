#include "app/LogOutput.h"

#include <cstdio>

namespace {
void print(QtMsgType, const QMessageLogContext &, const QString &message)
{
    const QByteArray line = LogOutput::lineOf(message);
    if (!line.isEmpty()) {
        std::fputs((line + '\n').constData(), stdout); // one call, so that lines of threads do not mix
        std::fflush(stdout);
    }
}
} // namespace

QByteArray LogOutput::lineOf(const QString &message)
{
    if (message.startsWith(QLatin1String("http"), Qt::CaseInsensitive)) {
        return {};
    }
    QByteArray line = message.toLocal8Bit();
    while (line.endsWith('\n') || line.endsWith('\r')) {
        line.chop(1);
    }
    return line;
}

void LogOutput::install()
{
    qInstallMessageHandler(print);
}
