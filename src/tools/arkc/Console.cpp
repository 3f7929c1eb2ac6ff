#include "tools/arkc/Console.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace arkc {
Outcome worse(Outcome one, Outcome other)
{
    return std::max(one, other);
}

void complain(const QString &whatAndWhere, const QString &tryThis)
{
    std::fprintf(stderr, "arkc: %s; %s\n", whatAndWhere.toUtf8().constData(), tryThis.toUtf8().constData());
}

bool print(const QByteArray &bytes)
{
    const auto size = static_cast<size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0) {
        return true;
    }
    if (errno != EPIPE) {
        complain(QStringLiteral("cannot write standard output: %1").arg(QString::fromLocal8Bit(std::strerror(errno))),
                 QStringLiteral("check where it goes"));
    }
    return false;
}
} // namespace arkc
