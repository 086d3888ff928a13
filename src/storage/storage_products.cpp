#include "storage/storage_products.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "core/format_text.h"
#include "tables/drive_part_numbers.h"
#include "tables/storage_controllers.h"

namespace {
static_assert(std::size(STORAGE_CONTROLLERS) == MAX_STORAGE_HBA_LIST);
static_assert(std::size(DRIVE_PART_NUMBERS) == MAX_STORAGE_DRIVE_LIST);
static_assert(sizeof(ORB_STORAGE_DRIVE) == 203);

// The texts of the tables are literals, so each ends with a NUL.
constexpr std::array<ORB_STORAGE_HBA, MAX_STORAGE_HBA_LIST> controller_rows() {
    std::array<ORB_STORAGE_HBA, MAX_STORAGE_HBA_LIST> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const STORAGE_CONTROLLERS_ROW &row = STORAGE_CONTROLLERS[i];
        rows[i] = {row.chipset, row.board, row.partNumber.data(),
                   static_cast<std::uint8_t>(row.family), row.model.data()};
    }
    return rows;
}

template <std::size_t size> constexpr void copy_text(std::string_view text, char (&out)[size]) {
    for (std::size_t i = 0; i < size; ++i) out[i] = i < text.size() ? text[i] : '\0';
}

constexpr std::array<ORB_STORAGE_DRIVE, MAX_STORAGE_DRIVE_LIST> drive_rows() {
    std::array<ORB_STORAGE_DRIVE, MAX_STORAGE_DRIVE_LIST> rows{};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        copy_text(DRIVE_PART_NUMBERS[i].model, rows[i].model);
        copy_text(DRIVE_PART_NUMBERS[i].partNumber, rows[i].partNumber);
        copy_text(DRIVE_PART_NUMBERS[i].description, rows[i].description);
    }
    return rows;
}

std::string part_number(const char *text, char *dst) {
    const std::size_t length = ::strnlen(text, PART_NUMBER_SIZE - 1);
    if (dst != nullptr) {
        std::memcpy(dst, text, length);
        dst[length] = '\0';
    }
    return {text, length};
}
} // namespace

constinit const std::array<ORB_STORAGE_HBA, MAX_STORAGE_HBA_LIST> gStorageHbaList =
    controller_rows();
constinit const std::array<ORB_STORAGE_DRIVE, MAX_STORAGE_DRIVE_LIST> gStorageDriveList =
    drive_rows();

const ORB_STORAGE_HBA *find_storage_hba(std::span<const ORB_STORAGE_HBA> rows,
                                        std::uint32_t chipset, std::uint32_t board,
                                        std::uint8_t familyMask) {
    const auto row = std::find_if(rows.begin(), rows.end(), [=](const ORB_STORAGE_HBA &model) {
        return (familyMask == 0 || (model.familyFlags & familyMask) != 0) &&
               (model.chipsetID == 0 || model.chipsetID == chipset) &&
               (model.boardID == 0 || model.boardID == board);
    });
    return row == rows.end() ? nullptr : &*row;
}

const char *getStorageControllerModel(std::uint32_t chipset, std::uint32_t board,
                                      std::uint8_t familyMask, std::uint8_t *outFamily) {
    const ORB_STORAGE_HBA *const row =
        find_storage_hba(gStorageHbaList, chipset, board, familyMask);
    if (outFamily != nullptr) *outFamily = row != nullptr ? row->familyFlags : std::uint8_t{0};
    return row != nullptr ? row->model : nullptr;
}

std::string getHBAPartNumber(std::uint32_t chipset, std::uint32_t board, char *dst) {
    for (const ORB_STORAGE_HBA &row : gStorageHbaList)
        if (row.chipsetID == chipset && row.boardID == board)
            return part_number(row.partNumber, dst);
    return part_number("", dst);
}

std::string getDiskPartNumber(const char *model, char *dst) {
    if (model != nullptr)
        for (const ORB_STORAGE_DRIVE &row : gStorageDriveList)
            if (std::strcmp(row.model, model) == 0) return part_number(row.partNumber, dst);
    return part_number("", dst);
}

void getControllerVendorID(std::uint32_t id, std::string &out) {
    out = format_text("%04x", id & 0xFFFF);
}
