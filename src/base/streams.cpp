#include "base/streams.h"

#include <fcntl.h>
#include <unistd.h>

void open_standard_streams() {
    // A new descriptor gets the lowest free number, so those below `fd` are open already.
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDWR) != fd) return;
    }
}
