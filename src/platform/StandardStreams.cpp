#include "StandardStreams.h"

#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

void openStandardStreams()
{
    for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
        if (::fcntl(stream, F_GETFD) < 0) {
            ::open("/dev/null", O_RDWR); // The lowest number that is free, which is this one.
        }
    }
}
