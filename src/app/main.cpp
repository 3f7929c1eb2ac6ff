#include "app/LogOutput.h"
#include "app/MainApplication.h"
#include "base/StandardStreams.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <string_view>

#include <unistd.h>

namespace {
/// Without memory nothing of the room can go on, and what is kept is on the disk: the supervisor starts it again.
[[noreturn]] void end()
{
    try {
        if (std::current_exception()) {
            throw;
        }
    } catch (const std::bad_alloc &) {
        constexpr std::string_view line = "Error:Out of memory: the controller ends here and has to be started again\n";
        [[maybe_unused]] const ssize_t count = ::write(STDERR_FILENO, line.data(), line.size());
        std::abort();
    } catch (...) {
    }
    __gnu_cxx::__verbose_terminate_handler();
    std::abort();
}
} // namespace

int main(int argc, char **argv)
{
    std::set_terminate(end);
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
