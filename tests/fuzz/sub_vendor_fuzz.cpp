#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/PCIeManufacturerResolver.h"
#include "platform/orbPCIVendorsMap.h"
#include "support/quiet_world.h"

namespace {
constexpr int IN_SLOT = 3;

/// Every line prints the same bytes.
class OneOutput final : public QuietWorld {
public:
    std::FILE *popen(const std::string &, int *err) override {
        *err = 0;
        ++open;
        std::FILE *stream = std::tmpfile();
        if (stream == nullptr) std::abort();
        std::fwrite(output.data(), 1, output.size(), stream);
        std::rewind(stream);
        return stream;
    }
    int pclose(std::FILE *stream) override {
        --open;
        return std::fclose(stream);
    }
    std::string output;
    int open = 0;
};
} // namespace

/// A line of an address, and behind it what the look at the host's device list prints. A sub vendor
/// holds no white space at its ends and fits a piece; a manufacturer is the one of its id; no
/// output stays open.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static OneOutput world;
    const std::string input(reinterpret_cast<const char *>(data), size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const std::string address = input.substr(0, end);
    world.output = input.substr(std::min(end + 1, input.size()));

    std::string subVendor;
    std::string manufacturer = "before";
    PCIeManufacturerResolver::fetchManufacturerAt(IN_SLOT, address, subVendor, manufacturer);
    const auto isBlank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    if (subVendor.size() > 511 || world.open != 0) std::abort();
    if (!subVendor.empty() && isBlank(subVendor.back())) std::abort();
    const auto vendor = orbPCIVendorsMap.find(subVendor);
    if (manufacturer != (vendor == orbPCIVendorsMap.end() ? "" : vendor->second)) std::abort();
    return 0;
}
