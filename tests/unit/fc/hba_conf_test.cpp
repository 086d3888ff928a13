#include "fc/hba_conf.h"

#include <algorithm>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {
const std::string LONG_NAME(300, 'n'), LONG_PATH = "/" + std::string(400, 'p');

struct LineCase {
    const char *what;
    std::string line;
    bool isEntry;
    std::string name, path;
};
const LineCase LINES[] = {
    {"Tab", "com.example.fclib\t/usr/lib64/libfc.so\n", true, "com.example.fclib",
     "/usr/lib64/libfc.so"},
    {"Blank", "lib /usr/lib64/libfc.so\n", true, "lib", "/usr/lib64/libfc.so"},
    {"SeveralTabsAndBlanks", "lib\t \t  /usr/lib64/libfc.so\n", true, "lib", "/usr/lib64/libfc.so"},
    {"SeveralBlanks", "lib   /usr/lib64/libfc.so\n", true, "lib", "/usr/lib64/libfc.so"},
    {"BlankThenTab", "lib \t/usr/lib64/libfc.so\n", true, "lib ", "/usr/lib64/libfc.so"},
    {"NameWithBlanksBeforeATab", "my own lib\t/a.so\n", true, "my own lib", "/a.so"},
    {"TabBehindThePathWins", "lib /a.so\tnote\n", true, "lib /a.so", "note"},
    {"NoNewline", "lib\t/a.so", true, "lib", "/a.so"},
    {"CarriageReturnEndsThePath", "lib\t/a.so\r\n", true, "lib", "/a.so"},
    {"CarriageReturnForAPathLeavesNone", "lib\t\r\n", true, "lib", ""},
    {"BlankEndsThePath", "lib\t/opt/with blank/a.so\n", true, "lib", "/opt/with"},
    {"TabEndsThePath", "lib\t/a.so\t/b.so\n", true, "lib", "/a.so"},
    {"AllCharactersOfAPath", "lib\t/AZaz09_-.\n", true, "lib", "/AZaz09_-."},
    {"OddFirstByteLeavesNoPath", "lib\t$HOME/a.so\n", true, "lib", ""},
    {"HighByteEndsThePath", "lib\t/a\xC3\xA4.so\n", true, "lib", "/a"},
    {"ControlByteEndsThePath", "lib\t/a\x01.so\n", true, "lib", "/a"},
    {"NeighboursOfTheAllowedRanges", "lib\t/a@b\n", true, "lib", "/a"},
    {"BracketEndsThePath", "lib\t/a[b\n", true, "lib", "/a"},
    {"BackquoteEndsThePath", "lib\t/a`b\n", true, "lib", "/a"},
    {"BraceEndsThePath", "lib\t/a{b\n", true, "lib", "/a"},
    {"ColonEndsThePath", "lib\t/a:b\n", true, "lib", "/a"},
    {"CommaEndsThePath", "lib\t/a,b\n", true, "lib", "/a"},
    {"RelativePath", "lib\tliba.so\n", true, "lib", "liba.so"},
    {"OddBytesInTheName", "l\x01\xFF%n\t/a.so\n", true, "l\x01\xFF%n", "/a.so"},
    {"HashInsideIsNoComment", "li#b\t/a.so\n", true, "li#b", "/a.so"},
    {"NameOf63", std::string(63, 'n') + "\t/a.so\n", true, std::string(63, 'n'), "/a.so"},
    {"NameOf64IsCut", std::string(64, 'n') + "\t/a.so\n", true, std::string(63, 'n'), "/a.so"},
    {"LongNameIsCut", LONG_NAME + "\t/a.so\n", true, std::string(63, 'n'), "/a.so"},
    {"PathOf255", "lib\t" + std::string(255, 'p') + "\n", true, "lib", std::string(255, 'p')},
    {"PathOf256IsCut", "lib\t" + std::string(256, 'p') + "\n", true, "lib", std::string(255, 'p')},
    {"LongPathIsCut", "lib\t" + LONG_PATH + "\n", true, "lib", LONG_PATH.substr(0, 255)},
    {"PathIsCutBeforeItIsCleaned", "lib\t" + std::string(255, 'p') + "$\n", true, "lib",
     std::string(255, 'p')},
    {"WhatFollowsTheNewline", "lib\t/a.so\nlib\t/b.so\n", true, "lib", "/a.so"},
    {"Empty", "", false, "", ""},
    {"NewlineAlone", "\n", false, "", ""},
    {"CarriageReturnAlone", "\r\n", false, "", ""},
    {"Comment", "#lib\t/a.so\n", false, "", ""},
    {"CommentSign", "#", false, "", ""},
    {"NoPath", "lib\n", false, "", ""},
    {"NoPathBehindTheTab", "lib\t\n", false, "", ""},
    {"NoPathBehindTheBlanks", "lib   \n", false, "", ""},
    {"NoNameBeforeTheTab", "\t/a.so\n", false, "", ""},
    {"NoNameBeforeTheBlank", " /a.so\n", false, "", ""},
    {"TabBehindABlankFirst", " \t/a.so\n", true, " ", "/a.so"},
    {"BlanksAlone", "   \n", false, "", ""},
    {"TabAlone", "\t", false, "", ""},
    {"SeparatorBehindTheNewline", "lib\n\t/a.so", false, "", ""},
};
void PrintTo(const LineCase &row, std::ostream *os) {
    *os << row.what;
}

class HbaConfLine : public ::testing::TestWithParam<LineCase> {};
INSTANTIATE_TEST_SUITE_P(Lines, HbaConfLine, ::testing::ValuesIn(LINES),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_P(HbaConfLine, GivesNameAndPath) {
    HBA_CONF_ENTRY entry;
    std::fill_n(entry.name, sizeof entry.name, 'u');
    std::fill_n(entry.path, sizeof entry.path, 'u');
    const LineCase &row = GetParam();
    ASSERT_EQ(read_hba_conf_line(row.line, entry), row.isEntry);
    std::string name = row.name, path = row.path;
    name.resize(sizeof entry.name, row.isEntry ? '\0' : 'u'); // filled up, or untouched
    path.resize(sizeof entry.path, row.isEntry ? '\0' : 'u');
    EXPECT_EQ(std::string(entry.name, sizeof entry.name), name);
    EXPECT_EQ(std::string(entry.path, sizeof entry.path), path);
}
} // namespace
