#include "core/host_texts.h"

#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
struct AnswerCase {
    const char *name;
    std::string text;
    const char *value;
};
const AnswerCase ANSWER_CASES[] = {
    {"Product", "   Product: VMware ESXi\n", "VMwareESXi"},
    {"Version", "   Version: 7.0.3\n", "7.0.3"},
    {"NoBlankBehindTheColon", "Version:8.0.2", "8.0.2"},
    {"SecondColonStays", "Product: a:b c\n", "a:bc"},
    {"AllKindsOfWhiteSpace", "Product:\t a \v b\f\r\n", "ab"},
    {"TwoLinesJoin", "Product: one\nOther Product: two\n", "oneOtherProduct:two"},
    {"NoColon", "VMware ESXi\n", ""},
    {"NothingBehindTheColon", "Product:", ""},
    {"OnlyBlanksBehindTheColon", "Product:  \n", ""},
    {"Empty", "", ""},
    {"BytesAbove127", "Product: \xC3\xA9 \xFF\n", "\xC3\xA9\xFF"},
};
void PrintTo(const AnswerCase &row, std::ostream *os) {
    *os << row.name;
}
class VersionAnswer : public ::testing::TestWithParam<AnswerCase> {};

class StampLines : public ::testing::Test {
protected:
    StampLines() {
        ::setenv("TZ", "UTC0", 1);
        ::tzset();
    }
    static std::vector<long> decode(const std::string &text) {
        std::istringstream in(text);
        return decode_stamp_lines(in);
    }
    static constexpr long JANUARY = 1452585849; // 2016-01-12T08:04:09Z
};
} // namespace

TEST_P(VersionAnswer, IsWhatStandsBehindTheFirstColon) {
    EXPECT_EQ(decode_version_answer(GetParam().text), GetParam().value);
}
INSTANTIATE_TEST_SUITE_P(Texts, VersionAnswer, ::testing::ValuesIn(ANSWER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(StampLines, GiveTheirTimesInOrder) {
    EXPECT_EQ(decode("2016-01-12T08:04:09Z\n2016-01-12T08:04:10Z\n"),
              (std::vector<long>{JANUARY, JANUARY + 1}));
}
TEST_F(StampLines, LastLineNeedsNoNewline) {
    EXPECT_EQ(decode("2016-01-12T08:04:09Z"), std::vector<long>{JANUARY});
}
TEST_F(StampLines, ShortLinesAreSkipped) {
    EXPECT_EQ(decode("\n2016-01-12T08:04:0\n2016-01-12T08:04:09\nx\n"), std::vector<long>{JANUARY});
}
TEST_F(StampLines, LongLinesCountByTheirStamp) {
    EXPECT_EQ(decode("2016-01-12T08:04:09Z" + std::string(100000, 'x') + "\n"),
              std::vector<long>{JANUARY});
}
TEST_F(StampLines, NothingGivesNothing) {
    EXPECT_TRUE(decode("").empty());
}
