#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
struct Answer {
    int status;
    std::string output;
};

Answer run(const std::string &line) {
    std::FILE *const stream = ::popen((line + " 2>&1").c_str(), "re");
    if (stream == nullptr) return {-1, ""};
    std::string output;
    char piece[4096];
    for (std::size_t got; (got = std::fread(piece, 1, sizeof piece, stream)) > 0;)
        output.append(piece, got);
    const int status = ::pclose(stream);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

/// The names in liborb.map: exact ones in quotes, and patterns that end in "*".
std::vector<std::string> written_down() {
    std::ifstream map(std::string(ORB_SOURCE_DIR) + "/src/liborb.map");
    std::vector<std::string> names;
    for (std::string line; std::getline(map, line);) {
        line.erase(0, line.find_first_not_of(' '));
        if (line.starts_with('"') && line.ends_with("\";"))
            names.push_back(line.substr(1, line.size() - 3));
        else if (line.size() > 2 && line.ends_with("*;"))
            names.push_back(line.substr(0, line.size() - 1));
    }
    return names;
}

/// A name without the marks of the library's ABI, which aren't part of it.
std::string without_marks(std::string name) {
    for (std::size_t at; (at = name.find("[abi:")) != std::string::npos;)
        name.erase(at, name.find(']', at) - at + 1);
    return name;
}

bool matches(const std::string &name, const std::string &entry) {
    if (!entry.ends_with('*')) return name == entry;
    return name.starts_with(entry.substr(0, entry.size() - 1));
}

TEST(Installed, LibraryExportsWhatIsWrittenDownAndNothingElse) {
    const std::vector<std::string> entries = written_down();
    ASSERT_GT(entries.size(), 30u);
    const Answer symbols = run("nm -DC --defined-only " LIBORB_FILE);
    ASSERT_EQ(symbols.status, 0) << symbols.output;
    std::set<std::string> used;
    std::size_t at = 0;
    while (at < symbols.output.size()) {
        const std::size_t end = symbols.output.find('\n', at);
        const std::string line = symbols.output.substr(at, end - at);
        at = end + 1;
        const std::string name =
            without_marks(line.substr(std::min(line.size(), line.find(' ') + 3)));
        const auto entry = std::find_if(entries.begin(), entries.end(), [&](const auto &candidate) {
            return matches(name, candidate);
        });
        if (entry == entries.end())
            ADD_FAILURE() << "exported, but not written down: " << line;
        else
            used.insert(*entry);
    }
    for (const std::string &entry : entries)
        EXPECT_EQ(used.count(entry), 1u) << "written down, but not exported: " << entry;
}

TEST(Installed, ProgramAnswersWithoutAHost) {
    const Answer version = run(ORBD_PROGRAM " --version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "orbd " ORB_VERSION "\n");
    const Answer help = run(ORBD_PROGRAM " --help");
    EXPECT_EQ(help.status, 0);
    for (const char *option :
         {"--foreground", "--stop-timeout", "--no-generic-storage", "--print-inventory",
          "--compact", "--check-config", "--version", "--help"})
        EXPECT_NE(help.output.find(option), std::string::npos) << option;
    const Answer wrong = run(ORBD_PROGRAM " --frob");
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.output, "orbd: --frob: no such option, or not unique (see orbd --help)\n");
    const Answer check = run(ORBD_PROGRAM " --check-config " ORB_SOURCE_DIR "/packaging/orb.conf");
    EXPECT_EQ(check.status, 0) << check.output;
}

TEST(Installed, TreeHoldsEverythingAndRunsWhereItLies) {
    const TemporaryRoot staging;
    const Answer installation =
        run("DESTDIR='" + staging.path() + "' cmake --install " ORB_BINARY_DIR);
    ASSERT_EQ(installation.status, 0) << installation.output;
    for (const char *file : {"/opt/vantor/orb/bin/orbd",
                             "/opt/vantor/orb/bin/orblab",
                             "/opt/vantor/orb/lib/lab/libgeoenc02.so",
                             "/opt/vantor/orb/lib/lab/libgeoenc03.so",
                             "/opt/vantor/orb/lib/lab/libexamplefabric.so",
                             "/opt/vantor/orb/lib/lab/libexamplelight.so",
                             "/opt/vantor/orb/lib/lab/libbrokenhba-entry.so",
                             "/opt/vantor/orb/lib/lab/libbrokenhba-refuses.so",
                             "/opt/vantor/orb/lib/lab/libbrokenhba-version.so",
                             "/opt/vantor/orb/lib/lab/libbrokenhba-load.so",
                             "/opt/vantor/orb/lib/lab/libbrokenhba-text.so",
                             "/opt/vantor/orb/libexec/localcli",
                             "/opt/vantor/orb/libexec/esxtop",
                             "/opt/vantor/orb/libexec/orb-smbios-image",
                             "/opt/vantor/orb/data/esxtopconf",
                             "/opt/vantor/orb/log",
                             "/opt/vantor/orb/share/schemas/config.schema.json",
                             "/opt/vantor/orb/share/scenarios/first-generation.json",
                             "/etc/config/vantor/orb/orb.conf",
                             "/etc/config/vantor/orb/hba.conf",
                             "/lib/systemd/system/orb.service",
                             "/usr/share/man/man8/orbd.8",
                             "/usr/share/man/man5/orb.conf.5",
                             "/usr/share/bash-completion/completions/orbd"})
        EXPECT_TRUE(staging.exists(file)) << file;
    const Answer version = run("'" + staging.path() + "/opt/vantor/orb/bin/orbd' --version");
    EXPECT_EQ(version.status, 0) << version.output;
    const Answer loaded = run("ldd '" + staging.path() + "/opt/vantor/orb/bin/orbd'");
    EXPECT_NE(loaded.output.find(staging.path() + "/opt/vantor/orb/bin/../lib/liborb.so"),
              std::string::npos)
        << loaded.output;
}

TEST(Installed, ServiceManagerFindsAllThatTheUnitNames) {
    const TemporaryRoot staging;
    // The service manager's own units and the two programs of the system that the unit uses.
    const Answer installation =
        run("DESTDIR='" + staging.path() + "' cmake --install " ORB_BINARY_DIR + " && cd '" +
            staging.path() +
            "' && cp /lib/systemd/system/*.target lib/systemd/system/"
            " && mkdir bin && cp /bin/kill /bin/mkdir bin/");
    ASSERT_EQ(installation.status, 0) << installation.output;
    const std::string verify =
        "systemd-analyze --root='" + staging.path() + "' verify --man=no orb.service";
    const Answer whole = run(verify);
    EXPECT_EQ(whole.status, 0) << whole.output;
    EXPECT_EQ(whole.output, "");

    ASSERT_EQ(::unlink((staging.path() + "/opt/vantor/orb/bin/orbd").c_str()), 0);
    const Answer without = run(verify);
    EXPECT_NE(without.status, 0);
    EXPECT_NE(without.output.find("/opt/vantor/orb/bin/orbd is not executable"), std::string::npos)
        << without.output;
}

TEST(Installed, OutputThatCannotBeWrittenIsAFailure) {
    const Answer full = run(ORBD_PROGRAM " --help > /dev/full");
    EXPECT_EQ(full.status, 1);
}

TEST(Installed, HelpFitsATerminal) {
    const Answer help = run(ORBD_PROGRAM " --help");
    for (std::size_t at = 0, end; (end = help.output.find('\n', at)) != std::string::npos;
         at = end + 1)
        EXPECT_LE(end - at, 96u) << help.output.substr(at, end - at);
}
} // namespace
