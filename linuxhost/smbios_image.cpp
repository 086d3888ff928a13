#include "smbios_image.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

#include "core/byte_order.h"

namespace {
constexpr std::uint8_t END_OF_TABLE = 127;
constexpr std::size_t HEADER_SIZE = 4; // type, length, handle

struct ENTRY_32 {
    std::uint8_t anchor[4], checksum, length, major, minor;
    le_field<2> largestStructure;
    std::uint8_t revision, formatted[5];
    std::uint8_t dmiAnchor[5], dmiChecksum;
    le_field<2> tableLength;
    le_field<4> tableAddress;
    le_field<2> structures;
    std::uint8_t bcdRevision;
};
static_assert(offsetof(ENTRY_32, dmiAnchor) == 0x10 && offsetof(ENTRY_32, tableLength) == 0x16 &&
              sizeof(ENTRY_32) == SMBIOS_ENTRY_SIZE);

struct ENTRY_64 {
    std::uint8_t anchor[5], checksum, length, major, minor, documentRevision, revision, reserved;
    le_field<4> tableLengthLimit;
    le_field<8> tableAddress;
};
static_assert(offsetof(ENTRY_64, tableLengthLimit) == 0x0C && sizeof(ENTRY_64) == 0x18);

/// What an entry point of either form says.
struct ENTRY_FACTS {
    std::uint8_t major = 0, minor = 0;
    std::uint64_t tableLimit = 0; // 0: none
};

bool begins_with(std::span<const std::uint8_t> bytes, const char *anchor) {
    const std::size_t length = std::strlen(anchor);
    return bytes.size() >= length && std::memcmp(bytes.data(), anchor, length) == 0;
}

bool read_entry(std::span<const std::uint8_t> entry, ENTRY_FACTS &facts) {
    if (ENTRY_64 wide{}; begins_with(entry, "_SM3_") && read_record(entry, 0, wide)) {
        facts = {wide.major, wide.minor, wide.tableLengthLimit.value()};
        return true;
    }
    if (ENTRY_32 narrow{}; begins_with(entry, "_SM_") && read_record(entry, 0, narrow)) {
        facts = {narrow.major, narrow.minor, narrow.tableLength.value()};
        return true;
    }
    return false;
}

/// Size of the structure at the start of `rest` with its strings, 0 where it doesn't end there.
std::size_t structure_size(std::span<const std::uint8_t> rest) {
    if (rest.size() < HEADER_SIZE || rest[1] < HEADER_SIZE) return 0;
    for (std::size_t at = rest[1]; at + 1 < rest.size(); ++at)
        if (rest[at] == 0 && rest[at + 1] == 0) return at + 2;
    return 0;
}

/// The order in which structures get room where there isn't enough for all.
int rank(std::uint8_t type) {
    return type == 1 ? 0 : type == 9 ? 1 : type == 41 ? 2 : 3;
}

/// The byte that makes a range's sum 0.
std::uint8_t checksum(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint8_t>(0u - std::accumulate(bytes.begin(), bytes.end(), 0u));
}

std::array<std::uint8_t, SMBIOS_ENTRY_SIZE> make_entry(const ENTRY_FACTS &facts, std::size_t length,
                                                       std::size_t largest, std::size_t count) {
    ENTRY_32 entry{};
    std::memcpy(entry.anchor, "_SM_", sizeof entry.anchor);
    entry.length = SMBIOS_ENTRY_SIZE;
    entry.major = facts.major;
    entry.minor = facts.minor;
    entry.largestStructure.set(largest);
    std::memcpy(entry.dmiAnchor, "_DMI_", sizeof entry.dmiAnchor);
    entry.tableLength.set(length);
    entry.tableAddress.set(SMBIOS_ENTRY_SIZE);
    entry.structures.set(count);
    if (facts.major <= 9 && facts.minor <= 9)
        entry.bcdRevision = static_cast<std::uint8_t>(facts.major << 4 | facts.minor);

    std::array<std::uint8_t, SMBIOS_ENTRY_SIZE> bytes{};
    const auto refresh = [&] { std::memcpy(bytes.data(), &entry, sizeof entry); };
    refresh();
    entry.dmiChecksum = checksum(std::span(bytes).subspan(offsetof(ENTRY_32, dmiAnchor)));
    refresh();
    entry.checksum = checksum(bytes);
    refresh();
    return bytes;
}
} // namespace

ORB_SMBIOS_IMAGE pack_smbios_image(std::span<const std::uint8_t> entry,
                                   std::span<const std::uint8_t> table) {
    ORB_SMBIOS_IMAGE image;
    ENTRY_FACTS facts;
    if (!read_entry(entry, facts)) {
        image.error = "no complete SMBIOS entry point";
        return image;
    }
    if (facts.tableLimit != 0 && facts.tableLimit < table.size())
        table = table.first(static_cast<std::size_t>(facts.tableLimit));

    std::vector<std::span<const std::uint8_t>> found;
    std::size_t total = 0;
    while (!table.empty() && table[0] != END_OF_TABLE) {
        const std::size_t size = structure_size(table);
        if (size == 0) {
            image.cutOff = true;
            break;
        }
        found.push_back(table.first(size));
        total += size;
        table = table.subspan(size);
    }
    if (found.empty()) {
        image.error = "no complete SMBIOS structure";
        return image;
    }

    constexpr std::size_t ROOM = SMBIOS_IMAGE_LIMIT - SMBIOS_ENTRY_SIZE;
    if (total > ROOM)
        std::stable_sort(found.begin(), found.end(), [](const auto &left, const auto &right) {
            return rank(left[0]) < rank(right[0]);
        });
    image.bytes.resize(SMBIOS_ENTRY_SIZE);
    std::size_t largest = 0;
    for (const auto &structure : found) {
        if (image.bytes.size() + structure.size() > SMBIOS_IMAGE_LIMIT) break;
        image.bytes.insert(image.bytes.end(), structure.begin(), structure.end());
        largest = std::max(largest, structure.size());
        ++image.structures;
    }
    image.leftOut = found.size() - image.structures;
    if (image.structures == 0) {
        image.bytes.clear();
        image.error = "the first structure alone exceeds the image";
        return image;
    }
    const auto made =
        make_entry(facts, image.bytes.size() - SMBIOS_ENTRY_SIZE, largest, image.structures);
    std::copy(made.begin(), made.end(), image.bytes.begin());
    return image;
}
