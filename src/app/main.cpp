#include "app/LogOutput.h"
#include "app/MainApplication.h"

#include <csignal>

int main(int argc, char **argv)
{
    LogOutput::install();
    std::signal(SIGPIPE, SIG_IGN); // a terminal or peer that has gone is no reason to end
    MainApplication application(argc, argv);
    if (const std::optional<int> status = application.start()) {
        return *status;
    }
    return application.run();
}
