#include "platform/PCIeManufacturerResolver.h"

#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "hostaccess/orbHostLibraries.h"
#include "platform/hardware_list.h"
#include "support/SmbiosImage.h"

namespace {
constexpr int ON_BOARD = 2, IN_SLOT = 3;
constexpr char ADDRESS[] = "0000:c3:00.0";

/// A host whose shell lines are answered by the test.
class ManufacturerResolver : public ::testing::Test {
protected:
    static std::string line(const std::string &address = ADDRESS) {
        return "cat " + shell_path(HARDWARE_LIST) + " | awk '/" + address +
               ":/,/^$/' | grep -w 'SubVendor ID' | awk '{print $3}'";
    }
    std::string fetchAt(int place, const std::string &subVendorBefore) {
        subVendor = subVendorBefore;
        std::string manufacturer = "before";
        PCIeManufacturerResolver::fetchManufacturerAt(place, ADDRESS, subVendor, manufacturer);
        return manufacturer;
    }

    TemporaryRoot root;
    LogFile log{root};
    VirtualClock clock;
    CapturedSyslog syslog;
    ScriptedCommands commands;
    std::string subVendor;
};

struct OutputCase {
    const char *name;
    std::string output;
    std::string subVendor; ///< "before" before
};
const OutputCase OUTPUT_CASES[] = {
    {"Usual", "0xfff0\n", "0xfff0"},
    {"Nothing", "", "before"},
    {"NoNewline", "0xfff0", "0xfff0"},
    {"WhiteSpaceAround", " \t0xfff0 \r\n", "0xfff0"},
    {"LastLineWins", "0x0001\n0x0002\n", "0x0002"},
    {"LastLineWinsWhereEmpty", "0x0001\n\n", ""},
    {"Lines511Long", std::string(510, 'a') + "\n0x0002\n", "0x0002"},
    {"LongLineComesInPieces", std::string(511, 'a') + "b\n", "b"},
    {"NewlineAsAPieceOfItsOwn", std::string(511, 'a') + "\n", ""},
    {"LongestPiece", std::string(511, 'a'), std::string(511, 'a')},
    {"OtherBytes", "\xFF\x01\n", "\xFF\x01"},
    {"PieceEndsAtAZero", std::string("0x1\0x2\n", 7), "0x1"},
};
void PrintTo(const OutputCase &row, std::ostream *os) {
    *os << row.name;
}
class SubVendorOutput : public ManufacturerResolver,
                        public ::testing::WithParamInterface<OutputCase> {};

struct ListedCase {
    const char *name;
    const char *output;
    const char *subVendor;
    const char *manufacturer;
};
const ListedCase LISTED_CASES[] = {
    {"Prefix", "0x8086\n", "8086", "Intel Corporation"},
    {"PrefixInCapitals", "0X8086\n", "8086", "Intel Corporation"},
    {"NoPrefix", "8086\n", "8086", "Intel Corporation"},
    {"DigitsInCapitals", "0x15AD\n", "15AD", ""},
    {"DigitsAndPrefixInCapitals", "0X15AD\n", "15AD", ""},
    {"SameDigitsLowerCase", "0x15ad\n", "15ad", "VMware"},
    {"UnknownId", "0xfff0\n", "fff0", ""},
    {"PrefixAlone", "0x\n", "", ""},
    {"TwoPrefixes", "0x0x8086\n", "0x8086", ""},
    {"LeadingZeroMissing", "0x70\n", "70", ""},
    {"NotListed", "", "", ""},
};
void PrintTo(const ListedCase &row, std::ostream *os) {
    *os << row.name;
}
class ListedManufacturer : public ManufacturerResolver,
                           public ::testing::WithParamInterface<ListedCase> {};

class UnfitAddress : public ManufacturerResolver,
                     public ::testing::WithParamInterface<const char *> {};
} // namespace

TEST_P(SubVendorOutput, GivesTheSubVendor) {
    commands.onPopen(line(), GetParam().output);
    subVendor = "before";
    PCIeManufacturerResolver::getSubvendorID(ADDRESS, subVendor);
    EXPECT_EQ(subVendor, GetParam().subVendor);
    EXPECT_EQ(commands.calls(), std::vector<std::string>{line()});
}
INSTANTIATE_TEST_SUITE_P(Outputs, SubVendorOutput, ::testing::ValuesIn(OUTPUT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(ManufacturerResolver, LineThatCannotStartLeavesTheSubVendor) {
    commands.failPopen(line(), ENOMEM);
    subVendor = "before";
    PCIeManufacturerResolver::getSubvendorID(ADDRESS, subVendor);
    EXPECT_EQ(subVendor, "before");
    EXPECT_LOGGED(log, "INFO", "MFR",
                  "Error(Cannot allocate memory) occurred in identifying SubVendor id for "
                  "0000:c3:00.0");
}

TEST_F(ManufacturerResolver, StatusOfTheLineDoesNotCount) {
    commands.onPopen(line(), "0xfff0\n", 2 << 8);
    PCIeManufacturerResolver::getSubvendorID(ADDRESS, subVendor);
    EXPECT_EQ(subVendor, "0xfff0");
}

TEST_P(UnfitAddress, NeverReachesTheShell) {
    subVendor = "before";
    PCIeManufacturerResolver::getSubvendorID(GetParam(), subVendor);
    EXPECT_EQ(subVendor, "before");
    std::string manufacturer = "before";
    PCIeManufacturerResolver::fetchManufacturerFromOS(GetParam(), subVendor, manufacturer);
    EXPECT_EQ(subVendor, "");
    EXPECT_EQ(manufacturer, "");
    EXPECT_TRUE(commands.calls().empty());
}
INSTANTIATE_TEST_SUITE_P(Addresses, UnfitAddress,
                         ::testing::Values("", "Pseudo", "'; id; '", "0000:c3:00.0\n",
                                           "0000:c3:00 0", "0000:c3:00.g", "/", "$(id)"));

TEST_F(ManufacturerResolver, AddressInCapitalsIsAskedFor) {
    commands.onPopen(line("0000:C3:00.0"), "0x8086\n");
    PCIeManufacturerResolver::getSubvendorID("0000:C3:00.0", subVendor);
    EXPECT_EQ(subVendor, "0x8086");
}

TEST_P(ListedManufacturer, IsLookedUpByExactId) {
    commands.onPopen(line(), GetParam().output);
    subVendor = "before";
    std::string manufacturer = "before";
    PCIeManufacturerResolver::fetchManufacturerFromOS(ADDRESS, subVendor, manufacturer);
    EXPECT_EQ(subVendor, GetParam().subVendor);
    EXPECT_EQ(manufacturer, GetParam().manufacturer);
}
INSTANTIATE_TEST_SUITE_P(Ids, ListedManufacturer, ::testing::ValuesIn(LISTED_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(ManufacturerResolver, BoardDeviceIsTheMachineMakers) {
    root.write(SMBIOS_DEVICE, SmbiosImage::as_text(SmbiosImage::exampleServer()));
    EXPECT_EQ(fetchAt(ON_BOARD, "8086"), "Vantor"); // whatever its sub vendor says
    EXPECT_EQ(subVendor, "8086");
    EXPECT_TRUE(commands.calls().empty());
    EXPECT_EQ(log.countHolding("DEBUG", "MFR", ""), 0);
}

TEST_F(ManufacturerResolver, BoardDeviceOfAnUnknownMachineHasNoMaker) {
    EXPECT_EQ(fetchAt(ON_BOARD, ""), "");
    EXPECT_LOGGED(log, "DEBUG", "MFR", "Unable to fetch manufacturer name for OnBoard cards");
}

TEST_F(ManufacturerResolver, CardWithAGivenSubVendorIsLookedUpWithoutACommand) {
    EXPECT_EQ(fetchAt(IN_SLOT, "8086"), "Intel Corporation");
    EXPECT_EQ(subVendor, "8086");
    EXPECT_TRUE(commands.calls().empty());
    EXPECT_EQ(log.countHolding("DEBUG", "MFR", ""), 0);
}

TEST_F(ManufacturerResolver, GivenSubVendorKeepsItsPrefixAndIsNotFound) {
    EXPECT_EQ(fetchAt(IN_SLOT, "0x8086"), "");
    EXPECT_EQ(subVendor, "0x8086");
    EXPECT_LOGGED(log, "DEBUG", "MFR",
                  "Unable to fetch manufacturer name for PCI Subsystem Vendor ID : 0x8086 as there "
                  "is no mapping vendor information.");
}

TEST_F(ManufacturerResolver, CardWithoutASubVendorIsLookedUpInTheList) {
    commands.onPopen(line(), "0x8086\n");
    EXPECT_EQ(fetchAt(IN_SLOT, ""), "Intel Corporation");
    EXPECT_EQ(subVendor, "8086");
}

TEST_F(ManufacturerResolver, CardOfAnUnknownVendorIsTold) {
    commands.onPopen(line(), "0x00f0\n");
    EXPECT_EQ(fetchAt(IN_SLOT, ""), "");
    EXPECT_EQ(subVendor, "00f0");
    EXPECT_LOGGED(log, "DEBUG", "MFR",
                  "Unable to fetch manufacturer name for PCI Subsystem Vendor ID : 0x00f0 as there "
                  "is no mapping vendor information.");
}

TEST_F(ManufacturerResolver, CardThatIsNotListedIsToldAsZero) {
    commands.onPopen(line(), "");
    EXPECT_EQ(fetchAt(IN_SLOT, ""), "");
    EXPECT_EQ(subVendor, "");
    EXPECT_LOGGED(log, "DEBUG", "MFR",
                  "Unable to fetch manufacturer name for PCI Subsystem Vendor ID : 0x0000 as there "
                  "is no mapping vendor information.");
}

TEST_F(ManufacturerResolver, UnknownPlaceLeavesTheManufacturer) {
    for (const int place : {-4, 0, 1, 4}) {
        EXPECT_EQ(fetchAt(place, "8086"), "before") << place;
        EXPECT_EQ(subVendor, "8086");
    }
    EXPECT_EQ(log.count("DEBUG", "MFR",
                        "Unable to fetch manufacturer name for PCI device : 0000:c3:00.0 as it is "
                        "neither OnBoard nor Add-in device"),
              4);
    EXPECT_TRUE(commands.calls().empty());
}

TEST_F(ManufacturerResolver, UnknownMachineLeavesTheManufacturer) {
    std::string manufacturer = "before";
    PCIeManufacturerResolver::fetchManufacturer(ADDRESS, subVendor, manufacturer);
    EXPECT_EQ(manufacturer, "before");
    EXPECT_LOGGED(
        log, "DEBUG", "MFR",
        "Unable to fetch manufacturer name for PCI device : 0000:c3:00.0 as it is neither "
        "OnBoard nor Add-in device");
}

namespace {
void prepare_record(void *, int) {}
int encode_record(void *, std::uint64_t *) {
    return 0;
}

/// A loader that knows one library: an encoder of locations.
class EncoderLibrary final : public IorbHostLibraries {
public:
    EncoderLibrary() : outer(replace(this)) {}
    ~EncoderLibrary() override { replace(outer); }
    EncoderLibrary(const EncoderLibrary &) = delete;
    EncoderLibrary &operator=(const EncoderLibrary &) = delete;

    void *open(const char *name, int) override {
        return std::string(name) == "libgeoenc02.so" ? this : nullptr;
    }
    void *symbol(void *, const char *name) override {
        if (std::string(name) == "physloc_init_data")
            return reinterpret_cast<void *>(&prepare_record);
        if (std::string(name) == "physloc_encode") return reinterpret_cast<void *>(&encode_record);
        return nullptr;
    }
    int close(void *) override { return 0; }
    char *error() override { return nullptr; }

private:
    IorbHostLibraries *outer;
};

/// A machine whose table of places has a card in a slot and an on-board device.
class KnownMachine : public ManufacturerResolver {
protected:
    KnownMachine() {
        root.write(SMBIOS_DEVICE, SmbiosImage::as_text(SmbiosImage::exampleServer()));
        orbUtils::initializeSMBIOS();
        orbUtils::initGeoIDMap();
    }
    std::string fetch(const std::string &address) {
        std::string manufacturer = "before";
        PCIeManufacturerResolver::fetchManufacturer(address, subVendor, manufacturer);
        return manufacturer;
    }
    EncoderLibrary library;
};
} // namespace

TEST_F(KnownMachine, CardInASlotIsNamedByItsSubVendor) {
    commands.onPopen(line("0000:24:00.0"), "0x1077\n");
    EXPECT_EQ(fetch("0000:24:00.0"), "QLogic Corp.");
    EXPECT_EQ(subVendor, "1077");
}

TEST_F(KnownMachine, BoardDeviceWithAKnownSubVendorIsStillTheMachineMakers) {
    subVendor = "8086";
    EXPECT_EQ(fetch("0000:c3:00.0"), "Vantor");
}

TEST_F(KnownMachine, DeviceWithoutAPlaceKeepsItsManufacturer) {
    EXPECT_EQ(fetch("0000:81:00.0"), "before");
}

namespace {
/// The host's own shell over a list in a private folder.
class ListedSubVendor : public ::testing::Test {
protected:
    std::string of(const std::string &address) {
        std::string found = "before";
        PCIeManufacturerResolver::getSubvendorID(address, found);
        return found;
    }
    TemporaryRoot root;
};
constexpr char LIST[] = "0000:00:1f.0:\n"
                        "   Address: 0000:00:1f.0\n"
                        "   Vendor ID: 0x8086\n"
                        "   SubVendor ID: 0x8086\n"
                        "   SubDevice ID: 0x0000\n"
                        "\n"
                        "0000:c3:00.0:\n"
                        "   Address: 0000:c3:00.0\n"
                        "   Vendor ID: 0x8086\n"
                        "   SubVendor ID: 0xfff0\n"
                        "   SubDevice ID: 0x0001\n"
                        "\n"
                        "0000:c4:00.0:\n"
                        "   SubVendor ID:\n"
                        "   SubDevice ID: 0x0001\n"
                        "\n"
                        "0000:c5:00.0\n"
                        "   SubVendor ID: 0x1077\n";
} // namespace

TEST_F(ListedSubVendor, IsThatOfTheBlock) {
    root.write(HARDWARE_LIST, LIST);
    EXPECT_EQ(of("0000:00:1f.0"), "0x8086");
    EXPECT_EQ(of("0000:c3:00.0"), "0xfff0");
}

TEST_F(ListedSubVendor, EmptyValueIsAnEmptyLine) {
    root.write(HARDWARE_LIST, LIST);
    EXPECT_EQ(of("0000:c4:00.0"), "");
}

TEST_F(ListedSubVendor, KeyLineNeedsItsColon) {
    root.write(HARDWARE_LIST, LIST);
    EXPECT_EQ(of("0000:c5:00.0"), "before");
}

TEST_F(ListedSubVendor, UnlistedDeviceHasNone) {
    root.write(HARDWARE_LIST, LIST);
    EXPECT_EQ(of("0000:ff:00.0"), "before");
}

TEST_F(ListedSubVendor, EmptyOrMissingListHasNone) {
    root.write(HARDWARE_LIST, "");
    EXPECT_EQ(of("0000:c3:00.0"), "before");
    TemporaryRoot none;
    EXPECT_EQ(of("0000:c3:00.0"), "before");
}
