#include "storage/storage_products.h"

#include <array>
#include <cstring>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {
const ORB_STORAGE_HBA ROWS[] = {
    {0x00011000, 0x00021000, "exact", 2, "Exact"},
    {0x00011000, 0, "", 4, "Any board"},
    {0x00011000, 0x00031000, "never", 8, "Hidden"},
    {0, 0x00041000, "", 1, "Any chipset"},
    {0x00051000, 0, "", 0, "No family"},
};

struct FindCase {
    const char *name;
    std::uint32_t chipset, board;
    std::uint8_t mask;
    const char *model; ///< null: none
};
const FindCase FIND_CASES[] = {
    {"Exact", 0x00011000, 0x00021000, 255, "Exact"},
    {"OtherBoardIsTheCatchAlls", 0x00011000, 0x00091000, 255, "Any board"},
    {"RowsBehindACatchAllAreHidden", 0x00011000, 0x00031000, 255, "Any board"},
    {"UnlessTheMaskPassesTheCatchAll", 0x00011000, 0x00031000, 8, "Hidden"},
    {"MaskPassesTheExactRow", 0x00011000, 0x00021000, 4, "Any board"},
    {"MaskOfSeveral", 0x00011000, 0x00021000, 6, "Exact"},
    {"MaskMeetsNone", 0x00011000, 0x00021000, 1, nullptr},
    {"MaskZeroIsAnyFamily", 0x00011000, 0x00021000, 0, "Exact"},
    {"AnyChipset", 0xABCD1234, 0x00041000, 255, "Any chipset"},
    {"UnknownChipset", 0xABCD1234, 0x00091000, 255, nullptr},
    {"BoardZeroIsAnyBoard", 0x00011000, 0, 255, "Any board"},
    {"WithoutAFamilyNoMaskIsMet", 0x00051000, 0x00021000, 255, nullptr},
    {"WithoutAFamilyMaskZeroFinds", 0x00051000, 0x00021000, 0, "No family"},
};
void PrintTo(const FindCase &row, std::ostream *os) {
    *os << row.name;
}
class FindStorageHba : public ::testing::TestWithParam<FindCase> {};
TEST_P(FindStorageHba, GivesTheFirstRowThatServes) {
    const FindCase &asked = GetParam();
    const ORB_STORAGE_HBA *const row =
        find_storage_hba(ROWS, asked.chipset, asked.board, asked.mask);
    EXPECT_STREQ(row != nullptr ? row->model : nullptr, asked.model);
}
INSTANTIATE_TEST_SUITE_P(Cards, FindStorageHba, ::testing::ValuesIn(FIND_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(StorageHbaList, EachRowHasAFamilyAndAModel) {
    std::set<unsigned> families;
    for (const ORB_STORAGE_HBA &row : gStorageHbaList) {
        families.insert(row.familyFlags);
        EXPECT_NE(row.chipsetID, 0U) << row.model;
        EXPECT_STRNE(row.model, "");
        EXPECT_LT(std::strlen(row.partNumber), PART_NUMBER_SIZE) << row.model;
    }
    EXPECT_EQ(families, (std::set<unsigned>{1, 2, 4, 8}));
}

TEST(StorageHbaList, AChipsetsCatchAllStandsBehindItsExactRowsAndHasNoPartNumber) {
    std::set<std::uint32_t> closed;
    for (const ORB_STORAGE_HBA &row : gStorageHbaList) {
        EXPECT_EQ(closed.count(row.chipsetID), 0U) << row.model << " is never found";
        EXPECT_EQ(row.boardID == 0, std::string_view(row.partNumber).empty()) << row.model;
        if (row.boardID == 0) closed.insert(row.chipsetID);
    }
    EXPECT_EQ(closed.size(), 5U);
}

TEST(StorageControllerModel, EachRowIsFoundByItsIdsAndAnyBoardByTheCatchAll) {
    for (const ORB_STORAGE_HBA &row : gStorageHbaList) {
        const std::uint32_t board = row.boardID != 0 ? row.boardID : 0xFFFEFFFF;
        for (const unsigned mask : {0U, 255U, unsigned{row.familyFlags}}) {
            std::uint8_t family = 77;
            EXPECT_STREQ(getStorageControllerModel(row.chipsetID, board,
                                                   static_cast<std::uint8_t>(mask), &family),
                         row.model);
            EXPECT_EQ(family, row.familyFlags);
        }
        EXPECT_STREQ(getStorageControllerModel(row.chipsetID, board, 255, nullptr), row.model);
        std::uint8_t family = 77;
        const auto others = static_cast<std::uint8_t>(~row.familyFlags);
        EXPECT_EQ(getStorageControllerModel(row.chipsetID, board, others, &family), nullptr);
        EXPECT_EQ(family, 0);
    }
}

TEST(HbaPartNumber, IsThatOfExactlyTheseIds) {
    for (const ORB_STORAGE_HBA &row : gStorageHbaList) {
        char text[PART_NUMBER_SIZE];
        std::memset(text, 'x', sizeof text);
        EXPECT_EQ(getHBAPartNumber(row.chipsetID, row.boardID, text), row.partNumber);
        EXPECT_STREQ(text, row.partNumber);
        EXPECT_EQ(getHBAPartNumber(row.chipsetID, row.boardID, nullptr), row.partNumber);
    }
}

// A catch-all row claims the card, but its board isn't the one that was asked for.
TEST(HbaPartNumber, IsEmptyForABoardThatOnlyACatchAllServes) {
    char text[PART_NUMBER_SIZE] = "before";
    ASSERT_NE(getStorageControllerModel(0x00971000, 0x12341000, 255, nullptr), nullptr);
    EXPECT_EQ(getHBAPartNumber(0x00971000, 0x12341000, text), "");
    EXPECT_STREQ(text, "");
}

TEST(StorageDriveList, EachRowIsWholeAndFoundByItsModelAlone) {
    std::set<std::string> models, numbers;
    for (const ORB_STORAGE_DRIVE &row : gStorageDriveList) {
        EXPECT_TRUE(models.insert(row.model).second) << row.model;
        EXPECT_TRUE(numbers.insert(row.partNumber).second) << row.partNumber;
        EXPECT_STRNE(row.description, "");
        char text[PART_NUMBER_SIZE];
        std::memset(text, 'x', sizeof text);
        EXPECT_EQ(getDiskPartNumber(row.model, text), row.partNumber);
        EXPECT_STREQ(text, row.partNumber);
        EXPECT_EQ(getDiskPartNumber((std::string(row.model) + " ").c_str(), nullptr), "");
        EXPECT_EQ(getDiskPartNumber(std::string(row.model).substr(1).c_str(), nullptr), "");
    }
    EXPECT_EQ(models.size(), 58U);
}

TEST(DiskPartNumber, IsEmptyForAnUnknownModel) {
    for (const char *const model : {"", "No such drive", static_cast<const char *>(nullptr)}) {
        char text[PART_NUMBER_SIZE] = "before";
        EXPECT_EQ(getDiskPartNumber(model, text), "");
        EXPECT_STREQ(text, "");
    }
}

TEST(ControllerVendorId, IsTheLowerHalfInFourDigits) {
    std::string text = "before";
    for (const auto &[id, expected] :
         {std::pair{0x005D1000U, "1000"}, std::pair{0xFFFF0001U, "0001"},
          std::pair{0xA1868086U, "8086"}, std::pair{0U, "0000"}, std::pair{0xABCDFFFEU, "fffe"}}) {
        getControllerVendorID(id, text);
        EXPECT_EQ(text, expected);
    }
}

// Static objects look things up before `main`.
const char *const modelBeforeMain = getStorageControllerModel(0x005D1000, 0x93631000, 2, nullptr);
TEST(StorageHbaList, IsThereBeforeMain) {
    EXPECT_STREQ(modelBeforeMain, "MegaRAID SAS 9361-4i");
}
} // namespace
