#include "network/NICPhysicalAdapter.h"

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/format_text.h"
#include "unit/network/NicWorld.h"

namespace {
using Texts = std::vector<std::string>;
constexpr char TAG[] = "NIC_CTRL";
constexpr char UNKNOWN[] = "FFFFFFFFFFFFFFFF";
constexpr char VERSION_FAILURE[] = "Error occurred in identifying fw version.";

class NicAdapter : public ::testing::Test {
protected:
    Texts row() const {
        return {nic.name, nic.address,
                "igbn",   "Up",
                nic.link, nic.speed,
                "Full",   "02:00:5e:10:20:30",
                "1500",   "Intel Corporation I350"};
    }
    PhyAdapterInventory discover() {
        world.setNics({nic});
        return discoverAsAnnounced();
    }
    /// Without announcing the lines of `nic` anew.
    PhyAdapterInventory discoverAsAnnounced() {
        PhyAdapterInventory adapter;
        EXPECT_EQ(NICPhysicalAdapter::discoverPhyAdapterInventory(adapter, row()), 0);
        return adapter;
    }
    int status(const std::string &cableLines, const char *linkWord) {
        world.commands.onPopen(NicWorld::cableLine(), cableLines);
        world.root.write(NicWorld::DETAILS_FILE, "left by the details");
        const int result = NICPhysicalAdapter::get_adapter_status(linkWord);
        EXPECT_FALSE(world.root.exists(NicWorld::DETAILS_FILE));
        return result;
    }

    NicWorld world;
    NIC_ON_HOST nic;
};

// -- A whole adapter ----------------------------------------------------------------------------

TEST_F(NicAdapter, EveryFieldIsFilled) {
    const PhyAdapterInventory adapter = discover();
    EXPECT_EQ(adapter.getNICModel(), "Vantor Ethernet 10Gb 2-port 900X Adapter");
    EXPECT_EQ(adapter.getSerialNumber(), "");
    EXPECT_EQ(adapter.getPartNumber(), "VX90102-001");
    EXPECT_EQ(adapter.getFirmVersion(), "1.63.0:0x800009fa");
    EXPECT_EQ(adapter.getDeviceName(), "vmnic0");
    EXPECT_EQ(adapter.getIntfName(), "vmnic0");
    EXPECT_EQ(adapter.getMACAddress(), "02:00:5e:10:20:30");
    EXPECT_EQ(adapter.getSpeed(), 1000);
    EXPECT_EQ(adapter.getPCIDescription(), "PCI 0000:c3:00.0 r001u01p0i00");
    EXPECT_EQ(adapter.getPhyLocation(), NicWorld::LOCATION);
    EXPECT_EQ(adapter.getState(), "Running");
    EXPECT_EQ(adapter.getHealth(), "OK");
    EXPECT_EQ(adapter.getLinkStatus(), "Up");
    EXPECT_EQ(adapter.getManufacturer(), "Undefined")
        << "on board: the machine's, which is not set";
    EXPECT_LOGGED(world.log, "DEBUG", TAG, "Getting adapter status for vmnic0");
}

TEST_F(NicAdapter, CommandsComeInThisOrder) {
    nic.address = "0000:24:00.0"; // a card in a slot, whose maker is looked up
    (void)discover();
    EXPECT_EQ(world.commands.calls(),
              (Texts{NicWorld::detailsLine("vmnic0"), NicWorld::firmwareLine(),
                     NicWorld::makerLine("0000:24:00.0"), NicWorld::subIdsLine("0000:24:00.0"),
                     NicWorld::cableLine()}));
}

TEST_F(NicAdapter, LinesAreTheHostsToTheLetter) {
    class PlainFiles final : public IorbHostFiles { // as on the host itself; nothing is opened
    public:
        PlainFiles() : outer(replace(this)) {}
        ~PlainFiles() override { replace(outer); }
        std::string map(const std::string &hostPath) override { return hostPath; }

    private:
        IorbHostFiles *outer;
    };
    (void)discover(); // makes the log, which then stays where it is
    const PlainFiles plain;
    EXPECT_EQ(NicWorld::detailsLine("vmnic0"),
              "localcli network nic get -n vmnic0 >> /opt/vantor/orb/data/orb_nicAddDetails.txt");
    EXPECT_EQ(NicWorld::firmwareLine(),
              "grep \"Firmware Version\" /opt/vantor/orb/data/orb_nicAddDetails.txt");
    EXPECT_EQ(NicWorld::cableLine(), "grep \"Cable \" /opt/vantor/orb/data/orb_nicAddDetails.txt");
    EXPECT_EQ(NicWorld::subIdsLine("0000:c3:00.0"),
              "cat /opt/vantor/orb/data/orb_hwlist.txt | awk '/0000:c3:00.0/,/^$/' | "
              "grep -e SubVendor -e SubDevice");
    EXPECT_EQ(NicWorld::listLine(),
              "localcli network nic list >> /opt/vantor/orb/data/orb_niclist.txt");
    EXPECT_EQ(NicWorld::pollLine(), "localcli network nic list | /usr/bin/awk '{print$1, $5}' "
                                    ">>/opt/vantor/orb/data/orb_niclist.txt");
}

TEST_F(NicAdapter, CardInASlotIsNamedAfterItsSubVendor) {
    nic.address = "0000:24:00.0";
    const PhyAdapterInventory adapter = discover();
    EXPECT_EQ(adapter.getManufacturer(), "Intel Corporation");
    EXPECT_EQ(adapter.getPCIDescription(), "PCI 0000:24:00.0 r001u01p0i03");
    EXPECT_EQ(adapter.getPhyLocation(), NicWorld::LOCATION);
}

TEST_F(NicAdapter, WithoutAGeoIdThereIsNoPlace) {
    nic.address = "0000:81:00.0";
    const PhyAdapterInventory adapter = discover();
    EXPECT_EQ(adapter.getPCIDescription(), "PCI 0000:81:00.0 ");
    EXPECT_EQ(adapter.getPhyLocation(), UNKNOWN);
    EXPECT_EQ(adapter.getManufacturer(), "") << "neither on board nor in a slot";
    EXPECT_EQ(world.log.countHolding("DEBUG", "QLPL_INTF", "for network adapter"), 0)
        << "nobody is asked where it sits";
}

TEST(NicAdapterElsewhere, SecondGenerationHasItsOwnGeoIds) {
    NicWorld world("PLATFORM-ID-B01"); // its encoder is missing
    PhyAdapterInventory adapter;
    (void)NICPhysicalAdapter::discoverPhyAdapterInventory(
        adapter,
        {"vmnic0", "0000:c3:00.0", "igbn", "Up", "Up", "1000", "Full", "mac", "1500", "x"});
    EXPECT_EQ(adapter.getPCIDescription(), "PCI 0000:c3:00.0 0000:c3:00");
    EXPECT_EQ(adapter.getPhyLocation(), UNKNOWN);
}

TEST_F(NicAdapter, VirtualAdapterHasNoAddress) {
    nic.name = "vusb0";
    nic.address = "Pseudo";
    const PhyAdapterInventory adapter = discover();
    EXPECT_EQ(adapter.getPCIDescription(), "PCI Pseudo ");
    EXPECT_EQ(adapter.getNICModel(), "");
    EXPECT_LOGGED(world.log, "DEBUG", TAG, "Unable to fetch the Model string for Pseudo");
    EXPECT_EQ(world.commands.calls(), (Texts{NicWorld::detailsLine("vusb0"),
                                             NicWorld::firmwareLine(), NicWorld::cableLine()}));
}

TEST_F(NicAdapter, NothingFromOutsideReachesTheShellUnchecked) {
    nic.name = "vmnic0;reboot";
    nic.address = "0000:c3:00.0/,/x/{system(\"reboot\")}";
    const PhyAdapterInventory adapter = discover();
    EXPECT_EQ(world.commands.calls(), (Texts{NicWorld::firmwareLine(), NicWorld::cableLine()}))
        << "as if the commands had printed nothing";
    EXPECT_EQ(adapter.getDeviceName(), nic.name);
}

TEST_F(NicAdapter, ShortRowLeavesFieldsEmpty) {
    world.commands.onPopen(NicWorld::detailsLine("vmnic7"), "");
    PhyAdapterInventory adapter;
    EXPECT_EQ(NICPhysicalAdapter::discoverPhyAdapterInventory(adapter, {"vmnic7"}), 0);
    EXPECT_EQ(adapter.getDeviceName(), "vmnic7");
    EXPECT_EQ(adapter.getMACAddress(), "");
    EXPECT_EQ(adapter.getPCIDescription(), "PCI  ");
}

TEST_F(NicAdapter, WordsFollowTheLink) {
    const struct {
        const char *link, *cable, *state, *health;
    } rows[] = {{"Up", "   Cable Type: \n", "Running", "OK"},
                {"Unknown", "   Cable Type: DA\n", "Failed", "Critical"},
                {"Down", "   Cable Type: DA\n", "Down", "Unknown"},
                {"Testing", "", "Other", "Unknown"},
                {"Testing", "   Cable Type: DA\n", "Running", "OK"}};
    for (const auto &row : rows) {
        nic.link = row.link;
        nic.cable = row.cable;
        const PhyAdapterInventory adapter = discover();
        EXPECT_EQ(adapter.getState(), row.state) << row.link;
        EXPECT_EQ(adapter.getHealth(), row.health) << row.link;
        EXPECT_EQ(adapter.getLinkStatus(), row.link);
    }
}

TEST_F(NicAdapter, SpeedThatIsNoNumberIsLogged) {
    nic.speed = "Full";
    EXPECT_EQ(discover().getSpeed(), 0);
    EXPECT_LOGGED(world.log, "DEBUG", TAG, "Error occurred in identifying the speed");
}
TEST_F(NicAdapter, SpeedsOfZeroAndBelowAreNoError) {
    for (const char *speed : {"0", "-1"}) {
        nic.speed = speed;
        EXPECT_EQ(discover().getSpeed(), 0);
    }
    EXPECT_NOT_LOGGED(world.log, "DEBUG", TAG, "Error occurred in identifying the speed");
}

// -- Firmware -----------------------------------------------------------------------------------

TEST_F(NicAdapter, DetailsThatCannotStartAreLogged) {
    world.commands.failPopen(NicWorld::detailsLine("vmnic0"), ENOMEM);
    std::string version = "before";
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, "before");
    EXPECT_EQ(world.log.count("ERROR", TAG, VERSION_FAILURE), 1);
    EXPECT_EQ(world.commands.calls(), Texts{NicWorld::detailsLine("vmnic0")});
}
TEST_F(NicAdapter, DetailsThatCannotStartLeaveTheCableEmpty) {
    world.setNics({nic});
    world.commands.failPopen(NicWorld::detailsLine("vmnic0"), ENOMEM);
    world.commands.onPopen(NicWorld::cableLine(), "", 512); // grep finds no file
    const PhyAdapterInventory adapter = discoverAsAnnounced();
    EXPECT_EQ(adapter.getFirmVersion(), "");
    EXPECT_EQ(adapter.getState(), "Running") << "by the link word alone";
}
TEST_F(NicAdapter, LookAtTheDetailsThatCannotStartIsLogged) {
    world.commands.failPopen(NicWorld::firmwareLine(), EMFILE);
    std::string version = "before";
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, "before");
    EXPECT_EQ(world.log.count("ERROR", TAG, VERSION_FAILURE), 1);
}
TEST_F(NicAdapter, FirmwareLineWithoutAColonIsLogged) {
    world.commands.onPopen(NicWorld::firmwareLine(), "Firmware Version 7\n");
    std::string version = "before";
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, "before");
    EXPECT_EQ(world.log.count("ERROR", TAG, VERSION_FAILURE), 1);
}
TEST_F(NicAdapter, NoFirmwareLineIsNoError) {
    world.commands.onPopen(NicWorld::firmwareLine(), "", 256);
    std::string version = "before";
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, "before");
    EXPECT_EQ(world.log.countHolding("ERROR", TAG, ""), 0);
}
TEST_F(NicAdapter, LongFirmwareLineIsJoinedFromItsPieces) {
    const std::string longVersion(2000, 'v');
    world.commands.onPopen(NicWorld::firmwareLine(), "Firmware Version: " + longVersion + "\n");
    std::string version;
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, longVersion);
}
TEST_F(NicAdapter, DetailsLeftByACrashComeFirst) {
    world.commands.onPopen(NicWorld::firmwareLine(),
                           "Firmware Version: of another\nFirmware Version: its own\n");
    std::string version;
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, "of another");
}

// -- Link ---------------------------------------------------------------------------------------

TEST_F(NicAdapter, StatusIsLoggedOnItsWay) {
    EXPECT_EQ(status("   Cable Type: DA\n", "up"), 1);
    EXPECT_LOGGED(world.log, "DEBUG", TAG, "Cable Type:    Cable Type: DA\n");
    EXPECT_LOGGED(world.log, "DEBUG", TAG, "Cable Type value: DA\n length 3");
}
TEST_F(NicAdapter, StatusWithoutACableLine) {
    EXPECT_EQ(status("", "up"), 1);
    EXPECT_EQ(status("", "other"), 4);
    EXPECT_LOGGED(world.log, "DEBUG", TAG, "Cable Type value:  length 0");
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Cable Type: "), 0);
}
TEST_F(NicAdapter, CableLineWithoutAColonTellsNothing) {
    EXPECT_EQ(status("Cable Type DA\n", "up"), 4);
    EXPECT_EQ(world.log.count("ERROR", TAG, "Error occurred in identifying status of NIC."), 1);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Cable Type value"), 0);
}
TEST_F(NicAdapter, SecondCableLineCountsAsPartOfTheType) {
    EXPECT_EQ(status("   Cable Type:\n   Cable Length: 3\n", "other"), 1);
}
TEST_F(NicAdapter, StatusThatCannotStart) {
    world.commands.failPopen(NicWorld::cableLine(), ENOMEM);
    world.root.write(NicWorld::DETAILS_FILE, "left by the details");
    EXPECT_EQ(NICPhysicalAdapter::get_adapter_status("Up"), 4);
    EXPECT_FALSE(world.root.exists(NicWorld::DETAILS_FILE));
    EXPECT_EQ(world.log.count("ERROR", TAG, "Error occurred in identifying status."), 1);
}
TEST_F(NicAdapter, NoLinkWordIsAnEmptyOne) {
    world.commands.onPopen(NicWorld::cableLine(), "");
    EXPECT_EQ(NICPhysicalAdapter::get_adapter_status(nullptr), 4);
}

// -- Sub-ids, model, part number ----------------------------------------------------------------

TEST_F(NicAdapter, SubIdsKeepTheirWhiteSpace) {
    world.setNics({nic});
    EXPECT_EQ(NICPhysicalAdapter::get_subvendor_subdevice("0000:c3:00.0"),
              std::make_pair(std::string(" 0xfff0\n"), std::string(" 0x0001\n")));
}
TEST_F(NicAdapter, SubIdsThatCannotBeLookedUp) {
    world.commands.failPopen(NicWorld::subIdsLine("0000:c3:00.0"), ENOMEM);
    const auto ids = NICPhysicalAdapter::get_subvendor_subdevice("0000:c3:00.0");
    EXPECT_EQ(ids, std::make_pair(std::string(), std::string()));
    EXPECT_EQ(world.log.count("INFO", TAG,
                              "Error(Cannot allocate memory) occurred in identifying SubVendor "
                              "and SubDevice id for 0000:c3:00.0"),
              1);
}
TEST_F(NicAdapter, OddLineAmongTheSubIdsIsAWarning) {
    world.commands.onPopen(NicWorld::subIdsLine("0000:c3:00.0"),
                           "   SubVendor Name: x\n   SubDevice ID: 0x0001\n");
    const auto ids = NICPhysicalAdapter::get_subvendor_subdevice("0000:c3:00.0");
    EXPECT_EQ(ids.first, "");
    EXPECT_EQ(ids.second, " 0x0001\n");
    EXPECT_EQ(world.log.count("WARNING", TAG,
                              "Unable to fetch SubVendor and SubDevice id for 0000:c3:00.0"),
              1);
}
TEST_F(NicAdapter, LongLineAmongTheSubIdsComesInPieces) {
    world.commands.onPopen(NicWorld::subIdsLine("0000:c3:00.0"),
                           "SubVendor ID:" + std::string(600, '0') + "7\n");
    const auto ids = NICPhysicalAdapter::get_subvendor_subdevice("0000:c3:00.0");
    EXPECT_EQ(ids.first, std::string(511 - 13, '0'));
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, "0000:c3:00.0"), 1) << "the second piece";
}
TEST_F(NicAdapter, SubIdsAreLookedUpOnceForAnAddress) {
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(discover().getNICModel(), "Vantor Ethernet 10Gb 2-port 900X Adapter");
    int looks = 0;
    for (const std::string &line : world.commands.calls())
        looks += line == NicWorld::subIdsLine("0000:c3:00.0") ? 1 : 0;
    EXPECT_EQ(looks, 1);
}
TEST_F(NicAdapter, SubIdsOfWhatIsLongerThanAnyAddressAreNotKept) {
    for (const std::size_t length : {std::size_t{64}, std::size_t{65}}) {
        nic.address = std::string(length, 'a');
        const std::size_t before = world.commands.calls().size();
        (void)discover();
        (void)discover();
        EXPECT_EQ(world.commands.calls().size() - before, length == 64 ? 3u + 4 : 4u + 4);
    }
}
TEST_F(NicAdapter, SubIdsOfNoMoreThan4096AddressesAreKept) {
    world.setNics({nic});
    const auto discoverThe = [&](unsigned number) {
        nic.address = format_text("%x", number);
        world.commands.onPopen(NicWorld::subIdsLine(nic.address), "");
        (void)discoverAsAnnounced();
    };
    for (unsigned number = 0; number < 4096; ++number) discoverThe(number);
    EXPECT_EQ(world.commands.calls().size(), 4096u * 4);
    discoverThe(4095);
    EXPECT_EQ(world.commands.calls().size(), 4096u * 4 + 3) << "known";
    for (int i = 0; i < 2; ++i) discoverThe(4096);
    EXPECT_EQ(world.commands.calls().size(), 4096u * 4 + 3 + 2 * 4) << "looked up each time";
}
TEST_F(NicAdapter, SubIdsThatWereNotFoundStayUnknown) {
    nic.subIds = "";
    EXPECT_EQ(discover().getNICModel(), "");
    nic.subIds = NIC_ON_HOST().subIds;
    EXPECT_EQ(discover().getNICModel(), "") << "though the list tells them now";
}
TEST_F(NicAdapter, ModelIsLeftAloneWithoutTwoNumbersOfTheTable) {
    const struct {
        const char *subVendor, *subDevice;
    } rows[] = {{"", ""}, {" 0xfff0\n", ""}, {"", " 0x0001\n"}, {"x", "1"}, {"8086", "1"}};
    for (const auto &row : rows) {
        std::string model = "before";
        NICPhysicalAdapter::getNICModel(row.subVendor, row.subDevice, model);
        EXPECT_EQ(model, "before") << row.subVendor << row.subDevice;
    }
    std::string model = "before";
    NICPhysicalAdapter::getNICModel(" 0XFFF1\n", "0", model);
    EXPECT_EQ(model, "Vantor Ethernet 1Gb 2-port 900T Adapter");
}
TEST_F(NicAdapter, PartNumberThatIsUnknownIsLogged) {
    EXPECT_EQ(NICPhysicalAdapter::getPartNumValue("900T"), "VX90010-000");
    constexpr char TEXT[] = "Unable to obtain the PartNumber of Ethernet/Infiniband instance";
    EXPECT_NOT_LOGGED(world.log, "DEBUG", TAG, TEXT);
    EXPECT_EQ(NICPhysicalAdapter::getPartNumValue(""), "");
    EXPECT_EQ(world.log.count("DEBUG", TAG, TEXT), 1);
}

TEST_F(NicAdapter, OemValues) {
    EXPECT_EQ(NICPhysicalAdapter::getOemValues("0000:c3:00.0"),
              std::make_pair(std::string("PCI 0000:c3:00.0 r001u01p0i00"),
                             std::string(NicWorld::LOCATION)));
    EXPECT_EQ(NICPhysicalAdapter::getOemValues("0000:81:00.0"),
              std::make_pair(std::string("PCI 0000:81:00.0 "), std::string(UNKNOWN)));
}
} // namespace
