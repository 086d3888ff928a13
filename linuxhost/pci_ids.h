#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

/// Names of PCI vendors, devices and classes from the text of a pci.ids file. The wanted numbers
/// are told first, so that one pass over the text keeps only these; lines of another shape are
/// skipped. Names that the file doesn't tell are given by their numbers, as "Device 0d57".
class PCI_NAMES {
public:
    void want(std::uint16_t vendor, std::uint16_t device);
    void want(std::uint16_t vendor, std::uint16_t device, std::uint16_t classCode);
    /// Takes in whole lines; of a file that is read in pieces, one piece after the other.
    void read(std::string_view idsText);
    bool complete() const { return missing == 0; } ///< nothing more is wanted

    std::string vendorName(std::uint16_t vendor) const;
    std::string deviceName(std::uint16_t vendor, std::uint16_t device) const;
    /// "Base class [0b50]" where only the base class has a name.
    std::string className(std::uint16_t classCode) const;

private:
    using Names = std::unordered_map<std::uint32_t, std::string>; // empty text: wanted, not found
    enum class SECTION { SKIPPED, VENDOR, CLASS };
    static std::string numbered(const char *what, unsigned number);
    void wantIn(Names &names, std::uint32_t number);
    void store(Names &names, std::uint32_t number, std::string_view name);
    void readLine(std::string_view line);

    Names vendors, devices, baseClasses, subClasses; // devices: vendor in the upper half
    std::size_t missing = 0;                         // of all four
    SECTION section = SECTION::SKIPPED;              // that the next indented line belongs to
    std::uint32_t above = 0;                         // its vendor or base class
};
