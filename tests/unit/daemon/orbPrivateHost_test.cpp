#include "daemon/orbPrivateHost.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/TemporaryRoot.h"

namespace fs = std::filesystem;

namespace {
TEST(PrivateHost, DataAndLogsLieInTheFolder) {
    TemporaryRoot root;
    root.makeDirectory("/tmp");
    root.write("/opt/vantor/orb/data/esxtopconf", "5m\n");
    orbPrivateHost host;
    std::string why;
    ASSERT_TRUE(host.make(why)) << why;
    host.keepLog("/var/log/orb.log", "main");
    const std::string folder = host.path();
    EXPECT_TRUE(folder.starts_with(root.map("/tmp/")));
    EXPECT_EQ(host.map("/opt/vantor/orb/data"), folder + "/data");
    EXPECT_EQ(host.map("/opt/vantor/orb/data/orb-mem.txt"), folder + "/data/orb-mem.txt");
    EXPECT_EQ(host.map("/opt/vantor/orb/log/orb.log"), folder + "/links/orb.log");
    EXPECT_EQ(host.map("/scratch/log/vantor/orb/backup_log"), folder + "/backup");
    EXPECT_EQ(host.map("/var/log/orb.log"), folder + "/main");
    EXPECT_TRUE(fs::exists(folder + "/data/esxtopconf"));
    for (const char *elsewhere :
         {"/opt/vantor/orb/database", "/opt/vantor/orb", "/var/log/orb.log2", "/sys", "/tmp/a"})
        EXPECT_EQ(host.map(elsewhere), root.map(elsewhere));
    EXPECT_EQ(&IorbHostFiles::get(), &host);
}

TEST(PrivateHost, GoesAwayWithAllThatIsInIt) {
    TemporaryRoot root;
    root.makeDirectory("/tmp");
    std::string folder;
    {
        orbPrivateHost host;
        std::string why;
        ASSERT_TRUE(host.make(why)) << why;
        folder = host.path();
        fs::create_directories(folder + "/data/deep/er");
        std::ofstream(folder + "/data/deep/er/file") << "x";
        EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
        host.remove();
        EXPECT_FALSE(fs::exists(folder));
    }
    EXPECT_TRUE(fs::is_empty(root.map("/tmp")));
    EXPECT_EQ(&IorbHostFiles::get(), &root);
}

TEST(PrivateHost, SystemLogIsSilentMeanwhile) {
    TemporaryRoot root;
    const CapturedSyslog syslog;
    {
        const orbPrivateHost host;
        IorbHostSyslog::get().write("orb", 8, 3, "unheard");
    }
    IorbHostSyslog::get().write("orb", 8, 3, "heard");
    EXPECT_EQ(syslog.count(-1, "heard"), 1);
}

TEST(PrivateHost, NoFolderIsAFault) {
    const TemporaryRoot root; // has no /tmp
    orbPrivateHost host;
    std::string why;
    EXPECT_FALSE(host.make(why));
    EXPECT_NE(why.find("No such file or directory"), std::string::npos) << why;
}
} // namespace
