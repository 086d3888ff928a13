#include "network/nic_commands.h"

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"

namespace {
using Texts = std::vector<std::string>;

TEST(ReadCommand, CutsAtNewlinesAndAtTheBuffersLength) {
    ScriptedCommands commands;
    commands.onPopen("line", "ab\ncdefgh\n\nij");
    const ORB_COMMAND_OUTPUT output = read_command("line", 4);
    EXPECT_TRUE(output.started);
    EXPECT_EQ(output.err, 0);
    EXPECT_EQ(output.pieces, (Texts{"ab\n", "cdef", "gh\n", "\n", "ij"}));
    EXPECT_EQ(output.joined(), "ab\ncdefgh\n\nij");
}
TEST(ReadCommand, TextBehindANulIsLost) {
    ScriptedCommands commands;
    commands.onPopen("line", std::string("a\0b\ncd\n", 7));
    EXPECT_EQ(read_command("line", 511).joined(), "acd\n");
}
TEST(ReadCommand, StatusDoesNotCount) {
    ScriptedCommands commands;
    commands.onPopen("line", "text", 256);
    EXPECT_EQ(read_command("line", 511).joined(), "text");
}
TEST(ReadCommand, NoShellIsTold) {
    ScriptedCommands commands;
    commands.failPopen("line", EMFILE);
    const ORB_COMMAND_OUTPUT output = read_command("line", 511);
    EXPECT_FALSE(output.started);
    EXPECT_EQ(output.err, EMFILE);
    EXPECT_TRUE(output.pieces.empty());
    EXPECT_FALSE(run_command("line"));
}
TEST(ReadCommand, EndlessOutputIsCut) {
    ScriptedCommands commands;
    commands.onPopen("line", std::string(1 << 20, 'x'));
    const std::size_t size = read_command("line", 511).joined().size();
    EXPECT_GT(size, 60u * 1024);
    EXPECT_LE(size, 64u * 1024);
    commands.onPopen("line", std::string(1 << 20, '\0'));
    EXPECT_LE(read_command("line", 39).pieces.size(), 64u * 1024);
}
TEST(RunCommand, RunsToTheEnd) {
    ScriptedCommands commands;
    commands.onPopen("line", "dropped", 256);
    EXPECT_TRUE(run_command("line"));
    EXPECT_EQ(commands.calls(), Texts{"line"});
}

TEST(DataFile, IsReadAndRemoved) {
    TemporaryRoot root;
    root.write("/data/x.txt", std::string("a\0b\n", 4));
    std::string text = "former";
    EXPECT_EQ(read_data_file("/data/x.txt", text), 0);
    EXPECT_EQ(text, std::string("a\0b\n", 4));
    remove_data_file("/data/x.txt");
    EXPECT_FALSE(root.exists("/data/x.txt"));
    remove_data_file("/data/x.txt");
    EXPECT_EQ(read_data_file("/data/x.txt", text), ENOENT);
    EXPECT_EQ(text, "");
}
TEST(DataFile, HugeOneIsCut) {
    TemporaryRoot root;
    root.write("/data/x.txt", std::string(2 << 20, 'x'));
    std::string text;
    EXPECT_EQ(read_data_file("/data/x.txt", text), 0);
    EXPECT_EQ(text.size(), 1u << 20);
}
TEST(DataFile, DirectoryReadsAsEmpty) {
    TemporaryRoot root;
    root.makeDirectory("/data/x.txt");
    std::string text = "former";
    EXPECT_EQ(read_data_file("/data/x.txt", text), 0);
    EXPECT_EQ(text, "");
}
} // namespace
