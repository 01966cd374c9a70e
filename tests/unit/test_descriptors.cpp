// How many descriptors are left.
#include "base/descriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

TEST(Descriptors, those_in_use_count_against_the_limit) {
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 64;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    const int at_first = free_descriptors();
    // Exactly that many can be opened.
    int opened[64] = {};
    int count = 0;
    while (count < 64 && (opened[count] = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0) ++count;
    for (int k = 0; k < count; ++k) close(opened[k]);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(at_first, count);
    EXPECT_GT(count, 0);
}
