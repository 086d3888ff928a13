#include "hostaccess/orbHostFiles.h"

#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
/// Puts one prefix before every path.
class PrefixedFiles final : public IorbHostFiles {
public:
    explicit PrefixedFiles(std::string text) : prefix(std::move(text)), outer(replace(this)) {}
    ~PrefixedFiles() override { replace(outer); }
    std::string map(const std::string &hostPath) override { return prefix + hostPath; }

private:
    std::string prefix;
    IorbHostFiles *outer;
};

// Filled while the statics of this file are made: the door is open before main.
const std::string MAPPED_BEFORE_MAIN = IorbHostFiles::get().map("/sys/class");
} // namespace

TEST(HostFiles, LieWhereTheirPathsSay) {
    EXPECT_EQ(MAPPED_BEFORE_MAIN, "/sys/class");
    EXPECT_EQ(IorbHostFiles::get().map("/etc/config/vantor/orb/orb.conf"),
              "/etc/config/vantor/orb/orb.conf");
    EXPECT_EQ(IorbHostFiles::get().map(""), "");
}
TEST(HostFiles, MapBelowARootWhileOneIsInForce) {
    {
        TemporaryRoot root;
        EXPECT_EQ(IorbHostFiles::get().map("/sys"), root.path() + "/sys");
    }
    EXPECT_EQ(IorbHostFiles::get().map("/sys"), "/sys");
}

TEST(ShellPath, NeedsNoQuotesOnAHost) {
    EXPECT_EQ(shell_path("/opt/vantor/orb/data/orb_nicAddDetails.txt"),
              "/opt/vantor/orb/data/orb_nicAddDetails.txt");
    EXPECT_EQ(shell_path("/a-b_c.d+e/0"), "/a-b_c.d+e/0");
}
TEST(ShellPath, QuotesWhatAShellWouldReadOtherwise) {
    EXPECT_EQ(shell_path("/a b"), "'/a b'");
    EXPECT_EQ(shell_path("/a;b"), "'/a;b'");
    EXPECT_EQ(shell_path("/$HOME/`id`"), "'/$HOME/`id`'");
    EXPECT_EQ(shell_path("/it's"), "'/it'\\''s'");
    EXPECT_EQ(shell_path("/new\nline"), "'/new\nline'");
    EXPECT_EQ(shell_path("/\xC3\xA9"), "'/\xC3\xA9'");
}
TEST(ShellPath, QuotesTheMappedPath) {
    const PrefixedFiles files("/tmp/my root");
    EXPECT_EQ(shell_path("/opt"), "'/tmp/my root/opt'");
}
