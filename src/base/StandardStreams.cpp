#include "base/StandardStreams.h"

#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

void keepStandardStreams()
{
    for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        if (::fcntl(stream, F_GETFD) < 0) {
            // In the wrong direction: its use fails as that of a closed one does. It gets the lowest free number.
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY); // NOLINT: stays open
        }
    }
}
