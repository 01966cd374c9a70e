#include "base/descriptors.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

void open_standard_streams() {
    // A new descriptor gets the lowest free number, so those below `fd` are open already.
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDWR) != fd) return;
    }
}

int free_descriptors() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    const int most = static_cast<int>(std::min<rlim_t>(limit.rlim_cur, INT_MAX));
    int used = 0;
    DIR* const list = opendir("/proc/self/fd");
    if (list == nullptr) return 0;
    while (const dirent* const entry = readdir(list)) {
        // Descriptors opened before the limit was lowered may be above it and do not count.
        if (entry->d_name[0] != '.' && atoi(entry->d_name) < most) ++used;
    }
    closedir(list);
    --used; // the directory's own descriptor
    return std::max(most - used, 0);
}
