#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "linuxhost/os_release.h"
#include "linuxhost/plain_text.h"
#include "linuxhost/system_version.h"

namespace {
struct VersionCase {
    const char *name;
    const char *osRelease;
    const char *kernel;
    const char *lines;
};
void PrintTo(const VersionCase &row, std::ostream *os) {
    *os << row.name;
}

const VersionCase VERSION_CASES[] = {
    {"Debian", "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nVERSION=\"12 (bookworm)\"\n",
     "6.1.0-18-amd64\n",
     "   Product: Debian GNU/Linux\n   Version: 12\n   Build: 6.1.0-18-amd64\n"
     "   Update: 0\n   Patch: 0\n"},
    {"LongerVersionTellsThePatch",
     "NAME=Ubuntu\nVERSION_ID=\"22.04\"\nVERSION=\"22.04.3 LTS (Jammy)\"\n", "5.15.0-91-generic",
     "   Product: Ubuntu\n   Version: 22.04\n   Build: 5.15.0-91-generic\n"
     "   Update: 4\n   Patch: 3\n"},
    {"VersionOfAnotherReleaseTellsNothing", "NAME=A\nVERSION_ID=9.1\nVERSION=9.12.7\n", "5.14",
     "   Product: A\n   Version: 9.1\n   Build: 5.14\n   Update: 1\n   Patch: 0\n"},
    {"BuildIdIsTheBuild", "NAME=A\nVERSION_ID=1.2.3\nBUILD_ID=Releasebuild-77\n", "5.14",
     "   Product: A\n   Version: 1.2.3\n   Build: Releasebuild-77\n   Update: 2\n   Patch: 3\n"},
    {"RollingRelease", "NAME=\"Arch Linux\"\nBUILD_ID=rolling\n", "6.8.1-arch1-1",
     "   Product: Arch Linux\n   Version: rolling\n   Build: rolling\n   Update: 0\n   Patch: 0\n"},
    {"NoOsRelease", "", "6.8.1-arch1-1",
     "   Product: Linux\n   Version: 6.8.1-arch1-1\n   Build: 6.8.1-arch1-1\n"
     "   Update: 8\n   Patch: 1\n"},
    {"PrettyNameWithoutName", "PRETTY_NAME=\"A 1\"\nVERSION_ID=1\n", "5",
     "   Product: A 1\n   Version: 1\n   Build: 5\n   Update: 0\n   Patch: 0\n"},
    {"IdWithoutNames", "ID=a\nNAME=\"\"\nVERSION_ID=1\n", "5",
     "   Product: a\n   Version: 1\n   Build: 5\n   Update: 0\n   Patch: 0\n"},
    {"NoSourceAtAll", "NAME=A\n", "", "   Product: A\n   Update: 0\n   Patch: 0\n"},
    {"ProductThatNamesAVersion", "NAME=\"A Version: 7\"\nID=a\nVERSION_ID=1\n", "5",
     "   Product: a\n   Version: 1\n   Build: 5\n   Update: 0\n   Patch: 0\n"},
    {"KernelBuiltForProduction", "NAME=A\nVERSION_ID=1\n", "5.10.1-Production",
     "   Product: A\n   Version: 1\n   Build: 5.10.1\n   Update: 0\n   Patch: 0\n"},
    {"VersionThatNamesAProduct", "NAME=A\nVERSION_ID=product-1\nBUILD_ID=Version:2\n", "5.1",
     "   Product: A\n   Version: Version:2\n   Build: 5.1\n   Update: 0\n   Patch: 0\n"},
    {"ControlCharactersInValues", "NAME=\"A\x01\x02\"\nVERSION_ID=\"\x1b[1m2\"\n", "5\n",
     "   Product: A\n   Version: [1m2\n   Build: 5\n   Update: 0\n   Patch: 0\n"},
};

class SystemVersion : public ::testing::TestWithParam<VersionCase> {};
TEST_P(SystemVersion, PrintsItsLines) {
    const auto version =
        choose_system_version(parse_os_release(GetParam().osRelease), GetParam().kernel);
    EXPECT_EQ(format_system_version(version), GetParam().lines);
}
TEST_P(SystemVersion, EachSearchMeetsOneLine) {
    const auto version =
        choose_system_version(parse_os_release(GetParam().osRelease), GetParam().kernel);
    std::istringstream text(format_system_version(version));
    int products = 0, versions = 0;
    for (std::string line; std::getline(text, line);) {
        products += holds_word(line, "product") ? 1 : 0;
        versions += holds_word(line, "version:") ? 1 : 0;
    }
    EXPECT_EQ(products, 1);
    EXPECT_EQ(versions, version.version.empty() ? 0 : 1);
}
INSTANTIATE_TEST_SUITE_P(Machines, SystemVersion, ::testing::ValuesIn(VERSION_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace
