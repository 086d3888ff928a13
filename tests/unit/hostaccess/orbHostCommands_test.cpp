#include "hostaccess/orbHostCommands.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace {
/// Runs a line and gives its output; `status` takes the wait status.
std::string output_of(const std::string &line, int *status) {
    int err = -1;
    std::FILE *stream = IorbHostCommands::get().popen(line, &err);
    EXPECT_EQ(err, 0);
    if (stream == nullptr) return {};
    std::string text;
    for (int c = 0; (c = std::fgetc(stream)) != EOF;) text += static_cast<char>(c);
    *status = IorbHostCommands::get().pclose(stream);
    return text;
}
} // namespace

TEST(HostCommands, SystemGivesTheWaitStatus) {
    const ORB_COMMAND_RESULT fine = IorbHostCommands::get().system("exit 0");
    EXPECT_EQ(fine.status, 0);
    const ORB_COMMAND_RESULT failed = IorbHostCommands::get().system("exit 7");
    EXPECT_TRUE(WIFEXITED(failed.status));
    EXPECT_EQ(WEXITSTATUS(failed.status), 7);
    EXPECT_EQ(failed.err, 0); // the shell itself ran
}
TEST(HostCommands, UnknownCommandIsTheShells127) {
    const ORB_COMMAND_RESULT result =
        IorbHostCommands::get().system("orb-no-such-command 2>/dev/null");
    EXPECT_EQ(WEXITSTATUS(result.status), 127);
}
TEST(HostCommands, ErrnoFromBeforeIsNotTheCommands) {
    errno = ENOSPC;
    EXPECT_EQ(IorbHostCommands::get().system("true").err, 0);
}
TEST(HostCommands, PopenReadsTheOutputAndPcloseTheStatus) {
    int status = -1;
    EXPECT_EQ(output_of("printf 'one\\ntwo\\n'; exit 3", &status), "one\ntwo\n");
    EXPECT_EQ(WEXITSTATUS(status), 3);
}
TEST(HostCommands, PipeIsNotInheritedByTheNextCommand) {
    int err = 0;
    std::FILE *first = IorbHostCommands::get().popen("true", &err);
    ASSERT_NE(first, nullptr);
    EXPECT_NE(::fcntl(::fileno(first), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(IorbHostCommands::get().pclose(first), 0);
}
