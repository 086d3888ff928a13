#pragma once

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// An SMBIOS image under construction: structures, and the entry point in front of them.
class SmbiosImage {
public:
    /// Adds a structure. @param formatted  the bytes behind the header; `length` follows from them
    SmbiosImage &add(std::uint8_t type, const Bytes &formatted,
                     const std::vector<std::string> &strings = {}) {
        return addRaw(type, static_cast<std::uint8_t>(formatted.size() + 4), formatted, strings);
    }
    /// The same with any length byte.
    SmbiosImage &addRaw(std::uint8_t type, std::uint8_t length, const Bytes &formatted,
                        const std::vector<std::string> &strings = {}) {
        const std::uint8_t handle = static_cast<std::uint8_t>(++handles);
        append({type, length, handle, type});
        append(formatted);
        for (const std::string &text : strings) {
            append(Bytes(text.begin(), text.end()));
            append({0});
        }
        append(strings.empty() ? Bytes{0, 0} : Bytes{0});
        return *this;
    }
    SmbiosImage &append(const Bytes &more) {
        structures.insert(structures.end(), more.begin(), more.end());
        return *this;
    }

    const Bytes &table() const { return structures; }
    Bytes image() const { return image(static_cast<std::uint16_t>(structures.size())); }
    /// @param tableLength  what the entry point says, true or not
    Bytes image(std::uint16_t tableLength) const {
        Bytes all(0x1F, 0);
        const std::string anchor = "_SM_";
        std::copy(anchor.begin(), anchor.end(), all.begin());
        all[5] = 0x1F;
        all[22] = static_cast<std::uint8_t>(tableLength);
        all[23] = static_cast<std::uint8_t>(tableLength >> 8);
        all.insert(all.end(), structures.begin(), structures.end());
        return all;
    }
    std::string text() const { return as_text(image()); }

    static std::string as_text(const Bytes &bytes) { return {bytes.begin(), bytes.end()}; }
    /// A server of the first generation with a slot in use, an empty one and an on-board device.
    static Bytes exampleServer() {
        std::ifstream in(ORB_TEST_DATA "/example-server/smbios.bin", std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

private:
    Bytes structures;
    int handles = 0;
};

constexpr char SMBIOS_DEVICE[] = "/vmfs/devices/char/mem/smbios";
