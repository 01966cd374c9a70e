// How the server treats a socket it cannot use. Usable ones are tested over real connections.
#include "net/server.h"

#include "base/log.h"
#include "support.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <unistd.h>
#include <vector>

TEST(Server, socket_beyond_what_select_can_wait_for_is_refused) {
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit roomy = before;
    roomy.rlim_cur = FD_SETSIZE + 64;
    if (before.rlim_cur < roomy.rlim_cur && setrlimit(RLIMIT_NOFILE, &roomy) != 0) {
        GTEST_SKIP() << "no more than " << before.rlim_max << " descriptors allowed here";
    }
    std::vector<int> taken;
    do taken.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    while (taken.back() >= 0 && taken.back() < FD_SETSIZE);
    ASSERT_EQ(taken.back(), FD_SETSIZE);

    const int next = dup(taken.back());
    close(next);
    log_forget(); // what other tests have left to be told
    testing::internal::CaptureStderr();
    const int sock = init_socket(0);
    const std::string said = testing::internal::GetCapturedStderr();
    const int next_after = dup(taken.back());
    close(next_after);
    for (const int fd : taken) close(fd);
    if (sock >= 0) close(sock);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(sock, -1);
    EXPECT_EQ(said, "init_socket(): cannot open TCP socket\n");
    EXPECT_EQ(next_after, next); // closed again
}
