#include "tools/arkctl/Program.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication::setApplicationVersion(QStringLiteral(ARKCTL_VERSION)); // the link's
    return CommandLine::guarded("arkctl", [=] { return runProgram(argc, argv); });
}
