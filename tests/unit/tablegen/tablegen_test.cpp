#include <sys/wait.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
struct Outcome {
    int status = -1;
    std::string output; ///< both streams
};

/// Runs the program with words that need no quoting.
Outcome tablegen(const std::string &words) {
    Outcome outcome;
    std::FILE *stream = ::popen((TABLEGEN_PROGRAM " " + words + " 2>&1").c_str(), "re");
    if (stream == nullptr) return outcome;
    char piece[512];
    for (std::size_t count = 0; (count = std::fread(piece, 1, sizeof piece, stream)) > 0;)
        outcome.output.append(piece, count);
    const int status = ::pclose(stream);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

class Tablegen : public ::testing::Test {
protected:
    TemporaryRoot root;
    const std::string input = root.path() + "/models.csv", output = root.path() + "/models.h";

    Tablegen() { root.write("/models.h", "former"); }
};
} // namespace

TEST_F(Tablegen, WritesAProductTable) {
    root.write("/models.csv", "id:hex16:key,name:text\n0x0001,One\n");
    const Outcome outcome = tablegen("product " + input + " " + output);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_NE(root.read("/models.h").find("MODELS[] = {\n    {0x0001, \"One\"},\n"),
              std::string::npos);
    EXPECT_FALSE(root.exists("/models.h.new"));
}

TEST_F(Tablegen, WritesTheVendors) {
    root.write("/models.csv", "0001  One\n");
    EXPECT_EQ(tablegen("pci-vendors " + input + " " + output).status, 0);
    EXPECT_NE(root.read("/models.h").find("{\"0001\", \"One\"}"), std::string::npos);
}

TEST_F(Tablegen, FaultNamesFileAndLineAndLeavesTheOutput) {
    root.write("/models.csv", "id:hex16:key\n0x1\n");
    const Outcome outcome = tablegen("product " + input + " " + output);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "tablegen: " + input + ":2: id is not 0x and 4 lower-case digits\n");
    EXPECT_EQ(root.read("/models.h"), "former");
}

TEST_F(Tablegen, FaultOfTheWholeFileHasNoLine) {
    root.write("/models.csv", "");
    EXPECT_EQ(tablegen("pci-vendors " + input + " " + output).output,
              "tablegen: " + input + ": no vendors\n");
}

TEST_F(Tablegen, MissingInputIsTold) {
    const Outcome outcome = tablegen("product " + input + " " + output);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output, "tablegen: " + input + ": No such file or directory\n");
}

TEST_F(Tablegen, FolderIsNoInput) {
    EXPECT_EQ(tablegen("product " + root.path() + " " + output).output,
              "tablegen: " + root.path() + ": Is a directory\n");
}

TEST_F(Tablegen, OutputThatCannotBeMadeIsTold) {
    root.write("/models.csv", "id:hex16:key\n0x0001\n");
    const Outcome outcome = tablegen("product " + input + " " + root.path() + "/none/models.h");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output,
              "tablegen: " + root.path() + "/none/models.h.new: No such file or directory\n");
}

TEST_F(Tablegen, UsageIsStatusTwoUnlessAskedFor) {
    for (const char *words : {"", "product", "product a b c", "other a b", "--unknown"}) {
        const Outcome outcome = tablegen(words);
        EXPECT_EQ(outcome.status, 2) << words;
        EXPECT_TRUE(outcome.output.starts_with("usage: tablegen ")) << words;
    }
    EXPECT_EQ(tablegen("--help").status, 0);
}
