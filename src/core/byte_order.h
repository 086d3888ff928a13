#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

/// N bytes of a device record, most significant first. Alignment 1: a record made of such fields
/// has no padding and can be copied from any address.
template <std::size_t N> struct be_field {
    std::uint8_t b[N];
    constexpr std::uint64_t value() const {
        std::uint64_t sum = 0;
        for (const std::uint8_t byte : b) sum = sum << 8 | byte;
        return sum;
    }
};
static_assert(be_field<2>{{0x12, 0x34}}.value() == 0x1234 && alignof(be_field<4>) == 1);

/// The same with the least significant byte first.
template <std::size_t N> struct le_field {
    std::uint8_t b[N];
    constexpr std::uint64_t value() const {
        std::uint64_t sum = 0;
        for (std::size_t i = N; i > 0; --i) sum = sum << 8 | b[i - 1];
        return sum;
    }
    constexpr void set(std::uint64_t number) {
        for (std::uint8_t &byte : b) {
            byte = static_cast<std::uint8_t>(number);
            number >>= 8;
        }
    }
};
static_assert(le_field<2>{{0x34, 0x12}}.value() == 0x1234 && alignof(le_field<4>) == 1);

/// Copies the record `offset` bytes into `bytes`; false, `out` untouched, where it does not fit.
template <typename Record>
bool read_record(std::span<const std::uint8_t> bytes, std::size_t offset, Record &out) {
    static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == 1);
    if (offset > bytes.size() || bytes.size() - offset < sizeof(Record)) return false;
    std::memcpy(&out, bytes.data() + offset, sizeof(Record));
    return true;
}
