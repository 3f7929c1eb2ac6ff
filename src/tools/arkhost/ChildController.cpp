#include "tools/arkhost/ChildController.h"

#include <csignal>

#include <sys/prctl.h>
#include <unistd.h>

namespace {
const pid_t kSupervisor = ::getpid();
constexpr int kOrphanStatus = 1;
} // namespace

bool ChildController::hasInGroup(qint64 id) const
{
    return processId() > 0 && ::getpgid(static_cast<pid_t>(id)) == static_cast<pid_t>(processId());
}

void ChildController::killGroup()
{
    if (processId() > 0) {
        ::kill(-static_cast<pid_t>(processId()), SIGKILL);
        kill(); // should it have no group yet
    }
}

void ChildController::signal(int number) const
{
    if (processId() > 0) {
        ::kill(static_cast<pid_t>(processId()), number);
    }
}

void ChildController::setupChildProcess()
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != kSupervisor) { // it died before the line above
        ::_exit(kOrphanStatus);
    }
}
