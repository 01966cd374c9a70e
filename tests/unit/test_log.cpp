// The log: which lines go out, which are left out and counted, and that no writer waits for a reader.
#include "base/log.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace std::chrono_literals;
using steady = std::chrono::steady_clock;

constexpr auto PATIENCE = 60s; // only bounds a hang

// Standard error as a pipe that is read only when the test does.
struct error_pipe {
    int saved, read_end, size;
    std::string text;

    error_pipe() {
        log_forget();
        int ends[2] = {};
        EXPECT_EQ(pipe(ends), 0);
        saved = dup(STDERR_FILENO);
        size = fcntl(ends[1], F_SETPIPE_SZ, 4096);
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
        read_end = ends[0];
        fcntl(read_end, F_SETFL, O_NONBLOCK);
    }
    ~error_pipe() {
        dup2(saved, STDERR_FILENO);
        close(saved);
        close(read_end);
    }
    void read_what_is_there() {
        char piece[4096];
        for (ssize_t n = 0; (n = read(read_end, piece, sizeof piece)) > 0;) text.append(piece, static_cast<size_t>(n));
    }
    // Reads until the condition holds.
    template <typename Condition> bool read_while_not(Condition condition) {
        const auto end = steady::now() + PATIENCE;
        for (;;) {
            read_what_is_there();
            if (condition()) return true;
            if (steady::now() > end) return false;
            std::this_thread::sleep_for(1ms);
        }
    }
    // Reads until the text contains `wanted`.
    bool read_until(const std::string& wanted) {
        return read_while_not([&] { return text.find(wanted) != std::string::npos; });
    }
};

size_t count_of(const std::string& text, const std::string& piece) {
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++count;
    return count;
}

// Seconds begun since `start`: on a slow machine even a short loop may reach the next one.
size_t seconds_since(steady::time_point start) {
    return static_cast<size_t>(std::chrono::ceil<std::chrono::seconds>(steady::now() - start).count());
}

// Number of lines like `example` that the text reports as left out.
size_t left_out(const std::string& text, const std::string& example) {
    size_t told = 0;
    const std::regex line("(\\d+) more lines left out like: " + example + "\n");
    for (std::sregex_iterator at(text.begin(), text.end(), line), end; at != end; ++at) told += std::stoul((*at)[1]);
    return told;
}

} // namespace

TEST(Log, twenty_lines_of_a_kind_are_admitted_in_any_second) {
    log_rate_t rate = {};
    const steady::time_point start = steady::time_point{} + 1h;
    // Ten at once, ten half a second later.
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(log_rate_admits(rate, start));
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(log_rate_admits(rate, start + 500ms));
    EXPECT_FALSE(log_rate_admits(rate, start + 999ms));
    // The first ten are a second old now, the others are not.
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(log_rate_admits(rate, start + 1s));
    EXPECT_FALSE(log_rate_admits(rate, start + 1499ms));
    EXPECT_TRUE(log_rate_admits(rate, start + 1500ms));
}

TEST(Log, a_steady_rate_of_twenty_a_second_loses_nothing) {
    log_rate_t rate = {};
    const steady::time_point start = steady::time_point{} + 1h;
    for (int i = 0; i < 1000; ++i) EXPECT_TRUE(log_rate_admits(rate, start + i * 50ms)) << i;
}

TEST(Log, lines_go_out_at_once_and_as_they_are) {
    log_forget(); // what other tests have left to be told
    testing::internal::CaptureStderr();
    log_line("a line from %s %d", "127.0.0.1", 513);
    log_line("%s", "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a line from 127.0.0.1 513\n\n");
}

TEST(Log, a_line_is_cut_and_still_ends) {
    log_forget(); // what other tests have left to be told
    testing::internal::CaptureStderr();
    log_line("cut: %s", std::string(10000, 'x').c_str());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.size(), LOG_LINE_MAX);
    EXPECT_EQ(said.back(), '\n');
    EXPECT_EQ(count_of(said, "\n"), 1U);
}

TEST(Log, a_flood_is_counted_and_reported_once_while_other_kinds_go_on) {
    constexpr size_t FLOOD = 5000;
    error_pipe pipe;
    const auto start = steady::now();
    for (size_t i = 0; i < FLOOD; ++i) log_line("flood");
    const size_t seconds = seconds_since(start);
    log_line("another kind");
    // A slow machine reports some of the flood before its end, and the rest later.
    const auto shown = [&] { return count_of("\n" + pipe.text, "\nflood\n"); };
    EXPECT_TRUE(pipe.read_while_not([&] { return shown() + left_out(pipe.text, "flood") >= FLOOD; })) << pipe.text;
    EXPECT_EQ(shown() + left_out(pipe.text, "flood"), FLOOD);
    EXPECT_GE(shown(), 20U);
    EXPECT_LE(shown(), 20U * seconds);
    EXPECT_EQ(count_of(pipe.text, "another kind\n"), 1U);
    EXPECT_LE(count_of(pipe.text, "lines left out like: flood\n"), seconds);
}

TEST(Log, lines_with_values_of_their_own_are_limited_together) {
    constexpr size_t FLOOD = 5000;
    error_pipe pipe;
    const auto start = steady::now();
    for (size_t i = 0; i < FLOOD; ++i) log_line("newcomer %zu", i);
    const size_t seconds = seconds_since(start);
    const auto shown = [&] { return count_of("\n" + pipe.text, "\nnewcomer "); };
    EXPECT_TRUE(pipe.read_while_not([&] { return shown() + left_out(pipe.text, "newcomer \\d+") >= FLOOD; }))
        << pipe.text;
    EXPECT_EQ(shown() + left_out(pipe.text, "newcomer \\d+"), FLOOD);
    EXPECT_GE(shown(), 300U);
    EXPECT_LE(shown(), 300U * seconds);
}

TEST(Log, a_flood_among_many_other_lines_is_still_one) {
    error_pipe pipe;
    const auto start = steady::now();
    for (int i = 0; i < 250; ++i) {
        log_line("guest %d", i);
        log_line("rhythm");
    }
    const size_t seconds = seconds_since(start);
    const auto shown = [&] { return count_of(pipe.text, "\nrhythm\n"); };
    EXPECT_TRUE(pipe.read_while_not([&] { return shown() + left_out(pipe.text, "rhythm") >= 250; })) << pipe.text;
    EXPECT_EQ(shown() + left_out(pipe.text, "rhythm"), 250U);
    EXPECT_LE(shown(), 20U * seconds);
    EXPECT_EQ(count_of(pipe.text, "guest "), 250U);
}

TEST(Log, what_only_the_operator_causes_is_never_left_out) {
    error_pipe pipe;
    for (int i = 0; i < 100; ++i) log_line_always("a key was pressed");
    log_line_always("last key");
    ASSERT_TRUE(pipe.read_until("last key\n"));
    EXPECT_EQ(count_of(pipe.text, "a key was pressed\n"), 100U);
}

TEST(Log, a_full_pipe_blocks_nobody_and_lines_wait_for_a_late_reader) {
    error_pipe pipe;
    // 18 lines of 1000 bytes: more than this pipe holds, less than the backlog does.
    const std::string filler(990, 'x');
    ASSERT_LT(pipe.size, 18 * 1000);
    for (int i = 0; i < 18; ++i) log_line("kept %02d %s", i, filler.c_str());
    log_line("the last one is there");
    ASSERT_TRUE(pipe.read_until("the last one is there\n"));
    std::string all;
    for (int i = 0; i < 18; ++i)
        all += "kept " + std::string(i < 10 ? "0" : "") + std::to_string(i) + " " + filler + "\n";
    EXPECT_EQ(pipe.text, all + "the last one is there\n");
}

TEST(Log, lines_beyond_the_backlog_are_counted) {
    error_pipe pipe;
    const std::string filler(3900, 'x');
    for (int i = 0; i < 40; ++i) log_line("fill %d %s", i, filler.c_str());
    ASSERT_TRUE(pipe.read_until("more lines left out: nobody read the log\n"));
    const size_t shown = count_of(pipe.text, "fill ");
    std::smatch found;
    ASSERT_TRUE(std::regex_search(pipe.text, found, std::regex("(\\d+) more lines left out: nobody read the log\n")));
    EXPECT_EQ(shown + std::stoul(found[1]), 40U);
    EXPECT_GE(shown * (filler.size() + 8), LOG_BACKLOG - LOG_LINE_MAX);
}

TEST(Log, a_closed_stream_is_harmless) {
    const int saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    log_line("into nothing");
    dup2(saved, STDERR_FILENO);
    close(saved);
    log_forget(); // what other tests have left to be told
    testing::internal::CaptureStderr();
    log_line("and on again");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "and on again\n");
}

TEST(Log, threads_that_write_at_once_leave_whole_lines) {
    log_forget(); // what other tests have left to be told
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 5; ++i) log_line("whole line of a thread");
        });
    }
    for (std::thread& thread : threads) thread.join();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(count_of(said, "whole line of a thread\n"), 20U);
    EXPECT_EQ(said.size(), 20 * std::string("whole line of a thread\n").size());
}
