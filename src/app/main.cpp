#include "app/LogOutput.h"
#include "app/MainApplication.h"
#include "base/StandardStreams.h"

#include <csignal>

int main(int argc, char **argv)
{
    keepStandardStreams();
    LogOutput::install();
    qputenv("QT_NO_GLIB", "1");    // Qt's own event loop wakes up faster than the other one
    std::signal(SIGPIPE, SIG_IGN); // a terminal or peer that has gone is no reason to end
    MainApplication application(argc, argv);
    if (const std::optional<int> status = application.start()) {
        return *status;
    }
    return application.run();
}
