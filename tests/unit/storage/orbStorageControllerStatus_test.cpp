#include <array>
#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "unit/storage/ControllerWorld.h"

namespace {
using Health = ORB_RESOURCE_HEALTH;

void set_status(orbStatusInfo &record, ORB_RESOURCE_STATE state, Health health) {
    record.setState(state);
    record.setHealth(health);
}

class ControllerStatus : public ::testing::Test {
protected:
    void setPorts(const std::vector<ORB_RESOURCE_STATE> &states) {
        controller->controllerInventory.clearControllerPortList();
        for (const ORB_RESOURCE_STATE state : states) {
            orbStorageControllerPortInfo port;
            port.setState(state);
            controller->controllerInventory.addControllerPort(port);
        }
    }
    /// State and health as words, after a computation.
    std::string words() {
        EXPECT_EQ(controller->computeControllerStatus(), 0);
        return std::string(state_text(controller->controllerInventory.getState())) + " " +
               health_text(controller->controllerInventory.getHealth());
    }
    std::string text() { return controller->controllerInventory.getEventInfoString(); }

    ControllerWorld world;
    const orbReference<OpenController> controller =
        orbReference<OpenController>::adopt(new OpenController);
};

// -- Status by the ports --------------------------------------------------------------------------

constexpr char ONE_OUT[] =
    "The storage controller port has gone offline or will be removed from the system, or has been "
    "in recovery state for >= 60 seconds.";
std::string most_out(const std::string &out, const std::string &all) {
    return "At least " + out + " of " + all +
           " ports of the storage controller have gone offline or will be removed from the "
           "system, or have been in recovery state for >= 60 seconds.";
}

TEST_F(ControllerStatus, TextsGoWithTheTable) {
    setPorts({});
    EXPECT_EQ(words(), "Running OK");
    EXPECT_EQ(text(), "The storage controller port(s) are now online.");
    setPorts({ORB_STATE_OFFLINE});
    EXPECT_EQ(words(), "Offline Critical");
    EXPECT_EQ(text(), ONE_OUT);
    setPorts({ORB_STATE_RECOVERY});
    EXPECT_EQ(words(), "Recovering Critical");
    EXPECT_EQ(text(), ONE_OUT);
    setPorts({ORB_STATE_RUNNING, ORB_STATE_OFFLINE});
    EXPECT_EQ(words(), "Degraded Critical");
    EXPECT_EQ(text(), most_out("1", "2"));
    setPorts({ORB_STATE_CREATED, ORB_STATE_OFFLINE, ORB_STATE_RUNNING, ORB_STATE_RUNNING});
    EXPECT_EQ(words(), "Degraded Warning");
    EXPECT_EQ(text(), "");
    setPorts({ORB_STATE_ERROR, ORB_STATE_ONLINE, ORB_STATE_OPTIMAL, ORB_STATE_UNKNOWN});
    EXPECT_EQ(words(), "Failed Critical");
    EXPECT_EQ(text(), most_out("3", "4"));
    setPorts({ORB_STATE_CREATED, ORB_STATE_RUNNING});
    EXPECT_EQ(words(), "Running OK");
    EXPECT_EQ(text(), "The storage controller port(s) are now online.");
}

TEST_F(ControllerStatus, PortsThatTheHardwareHasAndTheKernelDoesNotShowAreOffline) {
    controller->maxPorts = 4;
    setPorts({});
    EXPECT_EQ(words(), "Offline Critical");
    EXPECT_EQ(text(), ""); // it counts the ports that are there
    setPorts({ORB_STATE_RUNNING});
    EXPECT_EQ(words(), "Degraded Critical");
    EXPECT_EQ(text(), ONE_OUT);
    setPorts({ORB_STATE_RUNNING, ORB_STATE_RUNNING, ORB_STATE_RUNNING});
    EXPECT_EQ(words(), "Degraded Warning");
}

TEST_F(ControllerStatus, PortsBeyondTheHardwaresNumberDontCount) {
    controller->maxPorts = 2;
    setPorts({ORB_STATE_RUNNING, ORB_STATE_RUNNING, ORB_STATE_FAILED, ORB_STATE_FAILED});
    EXPECT_EQ(words(), "Running OK");
}

TEST_F(ControllerStatus, FormattedTextsByTypeAndNumberOfPorts) {
    const auto format = [this](int type) {
        return controller->formatControllerEventInfoString(
            static_cast<STORAGE_EVENT_INFO_TYPE>(type));
    };
    EXPECT_EQ(format(3), "");
    EXPECT_EQ(format(1), "The storage controller port(s) are now online.");
    setPorts({ORB_STATE_RUNNING});
    EXPECT_EQ(format(3), ONE_OUT);
    setPorts(std::vector<ORB_RESOURCE_STATE>(8));
    EXPECT_EQ(format(3), most_out("7", "8"));
    EXPECT_EQ(format(0), "");
    EXPECT_EQ(format(2), "");
    EXPECT_EQ(format(4), "");
}

/// A class whose text is the type that it was asked for.
class TypeTeller final : public OpenController {
public:
    std::string formatControllerEventInfoString(STORAGE_EVENT_INFO_TYPE type) override {
        return std::to_string(type);
    }
};

TEST_F(ControllerStatus, ClassIsAskedForTheTextOfEveryType) {
    const auto teller = orbReference<TypeTeller>::adopt(new TypeTeller);
    const auto text_with = [&](const std::vector<ORB_RESOURCE_STATE> &states) {
        setPorts(states);
        teller->controllerInventory = controller->controllerInventory;
        EXPECT_EQ(teller->computeControllerStatus(), 0);
        return teller->getInventory().getEventInfoString();
    };
    EXPECT_EQ(text_with({}), "1");
    EXPECT_EQ(text_with({ORB_STATE_RUNNING}), "1");
    EXPECT_EQ(text_with({ORB_STATE_RUNNING, ORB_STATE_RUNNING, ORB_STATE_RECOVERY}), "2");
    EXPECT_EQ(text_with({ORB_STATE_RUNNING, ORB_STATE_RUNNING, ORB_STATE_OFFLINE}), "2");
    EXPECT_EQ(text_with({ORB_STATE_FAILED, ORB_STATE_OFFLINE}), "3");
}

// -- Events of a controller -----------------------------------------------------------------------

class ControllerEvents : public ControllerStatus {
protected:
    ControllerEvents() { ControllerWorld::sendFirstInventory(); }
    /// The next status, after `from`. @return whether an event went out
    bool change(Health from, Health to) {
        set_status(controller->lastControllerInventory, ORB_STATE_OTHER, from);
        set_status(controller->controllerInventory, ORB_STATE_DOWN, to);
        controller->lastControllerInventory.setPhysicalLocation(ControllerWorld::LOCATION);
        controller->controllerInventory.setPhysicalLocation(ControllerWorld::LOCATION);
        return controller->generateEventOnStatusChange();
    }
    /// Which of the events were raised as critical.
    std::vector<bool> criticals() const {
        std::vector<bool> all;
        for (const orbEvent &event : world.raised.all()) all.push_back(event.getisServiceEvent());
        return all;
    }
};

TEST_F(ControllerEvents, EveryStepFromEveryLastEvent) {
    // previous health, present health, last event; then the event, 0 for none
    const std::map<std::array<int, 3>, int> raised = {
        {{ORB_HEALTH_CRITICAL, ORB_HEALTH_OK, -1}, 397},
        {{ORB_HEALTH_CRITICAL, ORB_HEALTH_OK, 0}, 397},
        {{ORB_HEALTH_CRITICAL, ORB_HEALTH_OK, 1}, 397},
        {{ORB_HEALTH_OK, ORB_HEALTH_CRITICAL, -1}, 398},
        {{ORB_HEALTH_OK, ORB_HEALTH_CRITICAL, 0}, 398},
        {{ORB_HEALTH_OK, ORB_HEALTH_CRITICAL, 1}, 398},
        {{ORB_HEALTH_WARNING, ORB_HEALTH_CRITICAL, -1}, 398},
        {{ORB_HEALTH_WARNING, ORB_HEALTH_CRITICAL, 0}, 398},
        {{ORB_HEALTH_WARNING, ORB_HEALTH_OK, -1}, 397},
        {{ORB_HEALTH_WARNING, ORB_HEALTH_OK, 1}, 397},
    };
    std::vector<int> expectedIds;
    std::vector<bool> expectedCriticals;
    int changes = 0, silent = 0;
    for (int from = 0; from < 4; ++from)
        for (int to = 0; to < 4; ++to)
            for (int last = -1; last <= 1; ++last) {
                const auto row = raised.find({from, to, last});
                const int id = row != raised.end() ? row->second : 0;
                controller->lastControllerEventCritical = last;
                EXPECT_EQ(change(static_cast<Health>(from), static_cast<Health>(to)), id != 0)
                    << from << " " << to << " " << last;
                EXPECT_EQ(controller->lastControllerEventCritical,
                          id == 0 ? last : (id == 398 ? 1 : 0))
                    << from << " " << to << " " << last;
                if (id != 0) {
                    expectedIds.push_back(id);
                    expectedCriticals.push_back(id == 398);
                }
                if (from != to) ++changes;
                if (from != to && id == 0) ++silent;
            }
    EXPECT_EQ(world.ids(), expectedIds);
    EXPECT_EQ(criticals(), expectedCriticals);
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR",
                                     "0000:3b:00.0: Detected controller status change. ["),
              changes);
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR",
                                     "0000:3b:00.0: Event not generated for controller status "
                                     "change. ["),
              silent);
    EXPECT_EQ(world.info("0000:3b:00.0: Event not generated for controller status change. "
                         "[CurrState=Down, PrevState=Other, CurrHealth=Warning, PrevHealth=OK]"),
              3);
}

TEST_F(ControllerEvents, WarningsBetweenDontRepeatTheLastWord) {
    EXPECT_TRUE(change(ORB_HEALTH_OK, ORB_HEALTH_CRITICAL));
    EXPECT_FALSE(change(ORB_HEALTH_CRITICAL, ORB_HEALTH_WARNING));
    EXPECT_FALSE(change(ORB_HEALTH_WARNING, ORB_HEALTH_CRITICAL)); // it was told
    EXPECT_FALSE(change(ORB_HEALTH_CRITICAL, ORB_HEALTH_WARNING));
    EXPECT_TRUE(change(ORB_HEALTH_WARNING, ORB_HEALTH_OK));
    EXPECT_FALSE(change(ORB_HEALTH_OK, ORB_HEALTH_WARNING));
    EXPECT_FALSE(change(ORB_HEALTH_WARNING, ORB_HEALTH_OK)); // so here
    EXPECT_FALSE(change(ORB_HEALTH_OK, ORB_HEALTH_WARNING));
    EXPECT_TRUE(change(ORB_HEALTH_WARNING, ORB_HEALTH_CRITICAL));
    EXPECT_EQ(world.ids(), (std::vector<int>{398, 397, 398}));
}

TEST_F(ControllerEvents, FirstReturnFromAWarningIsTold) {
    EXPECT_FALSE(change(ORB_HEALTH_OK, ORB_HEALTH_WARNING));
    EXPECT_TRUE(change(ORB_HEALTH_WARNING, ORB_HEALTH_OK));
    EXPECT_EQ(world.ids(), (std::vector<int>{397}));
}

TEST_F(ControllerEvents, EventCarriesPlaceAndRecord) {
    controller->controllerInventory.setModel("SAS9300-8i");
    controller->controllerInventory.setEventInfoString("why");
    EXPECT_TRUE(change(ORB_HEALTH_OK, ORB_HEALTH_CRITICAL));
    const std::vector<Json::Value> events = world.events();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0]["ID"], Json::Value(398));
    EXPECT_EQ(events[0]["Source"], Json::Value("ORB"));
    EXPECT_EQ(events[0]["PhysicalLocation"], Json::Value(ControllerWorld::LOCATION));
    EXPECT_EQ(events[0]["VariableData"]["Type"], Json::Value("Controller"));
    EXPECT_EQ(events[0]["VariableData"]["EventInfo"], Json::Value("why"));
    EXPECT_EQ(events[0]["VariableData"]["Data"]["Model"], Json::Value("SAS9300-8i"));
    EXPECT_EQ(world.info("0000:3b:00.0: Detected controller status change. [CurrState=Down, "
                         "PrevState=Other, CurrHealth=Critical, PrevHealth=OK]"),
              1);
}

struct SilentCase {
    const char *name;
    ORB_RESOURCE_STATE before;
    Health healthBefore;
    const char *placeBefore, *placeNow;
};
const SilentCase SILENT_CASES[] = {
    {"SameHealth", ORB_STATE_RUNNING, ORB_HEALTH_CRITICAL, "0123456789ABCDEF", "0123456789ABCDEF"},
    {"NoPlace", ORB_STATE_RUNNING, ORB_HEALTH_OK, "", ""},
    {"UnknownPlace", ORB_STATE_RUNNING, ORB_HEALTH_OK, "FFFFFFFFFFFFFFFF", "FFFFFFFFFFFFFFFF"},
    {"OtherPlaceAtTheSameMoment", ORB_STATE_RUNNING, ORB_HEALTH_OK, "0123456789ABCDEE",
     "0123456789ABCDEF"},
    {"FirstStatus", ORB_STATE_UNKNOWN, ORB_HEALTH_OK, "0123456789ABCDEF", "0123456789ABCDEF"},
};
void PrintTo(const SilentCase &row, std::ostream *os) {
    *os << row.name;
}
class SilentController : public ControllerEvents,
                         public ::testing::WithParamInterface<SilentCase> {};
TEST_P(SilentController, RaisesAndLogsNothing) {
    set_status(controller->lastControllerInventory, GetParam().before, GetParam().healthBefore);
    set_status(controller->controllerInventory, ORB_STATE_OFFLINE, ORB_HEALTH_CRITICAL);
    controller->lastControllerInventory.setPhysicalLocation(GetParam().placeBefore);
    controller->controllerInventory.setPhysicalLocation(GetParam().placeNow);
    EXPECT_FALSE(controller->generateEventOnStatusChange());
    EXPECT_TRUE(world.ids().empty());
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR", "controller status change"), 0);
    EXPECT_EQ(controller->lastControllerEventCritical, -1);
}
INSTANTIATE_TEST_SUITE_P(Conditions, SilentController, ::testing::ValuesIn(SILENT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

// -- Events of a drive ----------------------------------------------------------------------------

TEST_F(ControllerEvents, EveryChangeOfADrive) {
    std::vector<int> expectedIds;
    std::vector<bool> expectedCriticals;
    int silent = 0;
    for (int from = 0; from < 25; ++from)
        for (int to = 0; to < 25; ++to) {
            int id = 0;
            if (to == ORB_STATE_RUNNING) id = 540;
            if (to == ORB_STATE_PREDICTIVE_FAILURE) id = 539;
            if (to == ORB_STATE_FAILED) id = 538;
            if (to == ORB_STATE_OFFLINE &&
                (from == ORB_STATE_RUNNING || from == ORB_STATE_PREDICTIVE_FAILURE))
                id = 538;
            if (from == to) id = 0;
            orbDiskInfo last = make_disk("S", static_cast<ORB_RESOURCE_STATE>(from), ORB_HEALTH_OK);
            orbDiskInfo disk = make_disk("S", static_cast<ORB_RESOURCE_STATE>(to), ORB_HEALTH_OK);
            disk.setEventInfoString("why");
            EXPECT_EQ(controller->generateEventOnStatusChange(disk, last), id != 0)
                << from << " " << to;
            EXPECT_EQ(disk.getEventInfoString(), id == 540 ? "" : "why") << from << " " << to;
            if (id != 0) {
                expectedIds.push_back(id);
                expectedCriticals.push_back(id != 540);
            }
            if (id == 0 && from != to) ++silent;
        }
    EXPECT_EQ(world.ids(), expectedIds);
    EXPECT_EQ(criticals(), expectedCriticals);
    EXPECT_EQ(world.info("0000:3b:00.0: Event not generated for disk status change."), silent);
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR",
                                     "0000:3b:00.0: 00000000000000D1 - Detected disk status "
                                     "change. ["),
              25 * 24);
}

TEST_F(ControllerEvents, HealthAloneIsNoChangeOfADrive) {
    orbDiskInfo last = make_disk("S", ORB_STATE_RUNNING, ORB_HEALTH_OK);
    orbDiskInfo disk = make_disk("S", ORB_STATE_RUNNING, ORB_HEALTH_CRITICAL);
    EXPECT_FALSE(controller->generateEventOnStatusChange(disk, last));
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR", "disk status change"), 0);
}

TEST_F(ControllerEvents, DriveIsToldWithItsPresentPlaceElseItsFormerOne) {
    const auto place = [this](const char *before, const char *now) {
        orbDiskInfo last = make_disk("S", ORB_STATE_RUNNING, ORB_HEALTH_OK, before);
        orbDiskInfo disk = make_disk("S", ORB_STATE_FAILED, ORB_HEALTH_CRITICAL, now);
        const std::size_t events = world.events().size();
        if (!controller->generateEventOnStatusChange(disk, last)) return std::string("none");
        const std::vector<Json::Value> all = world.events();
        EXPECT_EQ(all.size(), events + 1);
        EXPECT_EQ(all.back()["VariableData"]["Type"], Json::Value("Drive"));
        return all.back()["PhysicalLocation"].asString();
    };
    EXPECT_EQ(place("00000000000000A1", "00000000000000B2"), "00000000000000B2");
    EXPECT_EQ(place("00000000000000A1", ""), "00000000000000A1");
    EXPECT_EQ(place("00000000000000A1", "FFFFFFFFFFFFFFFF"), "00000000000000A1");
    EXPECT_EQ(place("", "00000000000000B2"), "00000000000000B2");
    EXPECT_EQ(place("", "FFFFFFFFFFFFFFFF"), "none");
    EXPECT_EQ(world.debug("0000:3b:00.0: Invalid physical location detected. [OldLoc=, "
                          "NewLoc=FFFFFFFFFFFFFFFF, CurrState=Failed, PrevState=Running, "
                          "CurrHealth=Critical, PrevHealth=OK]"),
              1);
    EXPECT_EQ(world.info("0000:3b:00.0: 00000000000000B2 - Detected disk status change. "
                         "[CurrState=Failed, PrevState=Running, CurrHealth=Critical, "
                         "PrevHealth=OK]"),
              2);
}
} // namespace
