#include "core/status_words.h"

#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "core/orbModuleTags.h"

namespace {
struct StateRow {
    ORB_RESOURCE_STATE state;
    int number;
    const char *text;
};
const StateRow STATE_ROWS[] = {
    {ORB_STATE_UNKNOWN, 0, "Unknown"},
    {ORB_STATE_BYPASSED, 1, "Bypassed"},
    {ORB_STATE_CANCEL, 2, "Cancel"},
    {ORB_STATE_CANCEL_RECOVERY, 3, "Cancel/Recovery"},
    {ORB_STATE_CREATED, 4, "Created"},
    {ORB_STATE_DEGRADED, 5, "Degraded"},
    {ORB_STATE_DELETED, 6, "Deleted"},
    {ORB_STATE_DELETED_RECOVERY, 7, "Deleted/Recovery"},
    {ORB_STATE_DIAGNOSTIC_MODE, 8, "Diagnostic mode"},
    {ORB_STATE_DOWN, 9, "Down"},
    {ORB_STATE_ERROR, 10, "Error"},
    {ORB_STATE_FAILED, 11, "Failed"},
    {ORB_STATE_LINKDOWN, 12, "Linkdown"},
    {ORB_STATE_LOOPBACK, 13, "Loopback"},
    {ORB_STATE_OFFLINE, 14, "Offline"},
    {ORB_STATE_ONLINE, 15, "Online"},
    {ORB_STATE_OPTIMAL, 16, "Optimal"},
    {ORB_STATE_OTHER, 17, "Other"},
    {ORB_STATE_PARTIALLY_DEGRADED, 18, "Partially degraded"},
    {ORB_STATE_PREDICTIVE_FAILURE, 19, "Predictive failure"},
    {ORB_STATE_REBUILD, 20, "Rebuild"},
    {ORB_STATE_RECOVERING, 21, "Recovering"},
    {ORB_STATE_RECOVERY, 22, "Recovery"},
    {ORB_STATE_RUNNING, 23, "Running"},
    {ORB_STATE_UNCONFIGURED_BAD, 24, "Unconfigured bad"},
};
struct HealthRow {
    ORB_RESOURCE_HEALTH health;
    int number;
    const char *text;
};
const HealthRow HEALTH_ROWS[] = {
    {ORB_HEALTH_UNKNOWN, 0, "Unknown"},
    {ORB_HEALTH_CRITICAL, 1, "Critical"},
    {ORB_HEALTH_OK, 2, "OK"},
    {ORB_HEALTH_WARNING, 3, "Warning"},
};
} // namespace

TEST(StatusWords, EveryStateHasItsNumberAndText) {
    for (const StateRow &row : STATE_ROWS) {
        EXPECT_EQ(row.state, row.number);
        EXPECT_STREQ(state_text(row.state), row.text);
        EXPECT_STREQ(orbResourceStateMap[row.number], row.text);
    }
    EXPECT_EQ(std::size(orbResourceStateMap), std::size(STATE_ROWS));
}

TEST(StatusWords, EveryHealthHasItsNumberAndText) {
    for (const HealthRow &row : HEALTH_ROWS) {
        EXPECT_EQ(row.health, row.number);
        EXPECT_STREQ(health_text(row.health), row.text);
        EXPECT_STREQ(orbResourceHealthMap[row.number], row.text);
    }
    EXPECT_EQ(std::size(orbResourceHealthMap), std::size(HEALTH_ROWS));
}

TEST(StatusWords, NumbersOutsideTheTablesAreUnknown) {
    for (int number = 25; number < 256; ++number)
        EXPECT_STREQ(state_text(static_cast<ORB_RESOURCE_STATE>(number)), "Unknown") << number;
    for (int number = 4; number < 256; ++number)
        EXPECT_STREQ(health_text(static_cast<ORB_RESOURCE_HEALTH>(number)), "Unknown") << number;
}

TEST(StatusWords, AreStoredInOneByte) {
    EXPECT_EQ(sizeof(ORB_RESOURCE_STATE), 1u);
    EXPECT_EQ(sizeof(ORB_RESOURCE_HEALTH), 1u);
}

TEST(ModuleTags, AreTheirNames) {
#define EXPECT_TAG(tag) EXPECT_STREQ(tag, #tag)
    EXPECT_TAG(JOB_MGR);
    EXPECT_TAG(HOST_RM);
    EXPECT_TAG(FC_RM);
    EXPECT_TAG(SAS_RM);
    EXPECT_TAG(NIC_RM);
    EXPECT_TAG(NIC_CTRL);
    EXPECT_TAG(NIC_EVENT);
    EXPECT_TAG(JSON_AGGR);
    EXPECT_TAG(IPMI);
    EXPECT_TAG(IPMI_DB);
    EXPECT_TAG(EVT_HANDLER);
    EXPECT_TAG(ORB_SERVER);
    EXPECT_TAG(STOR_CTLR);
    EXPECT_TAG(STOR_FACT);
    EXPECT_TAG(STOR_MR);
    EXPECT_TAG(STOR_LB);
    EXPECT_TAG(LSI_INTERF);
    EXPECT_TAG(LSI_EVENT_INTERF);
    EXPECT_TAG(LSI_FACTORY);
    EXPECT_TAG(SCSI_INFO);
    EXPECT_TAG(PL_INTF);
    EXPECT_TAG(PL_FACT);
    EXPECT_TAG(QLPL_INTF);
    EXPECT_TAG(ZRTKPL_INTF);
    EXPECT_TAG(ORB_UTILS);
    EXPECT_TAG(ORB_MSGINFRA);
    EXPECT_TAG(MFR);
#undef EXPECT_TAG
}
