#include <bit>
#include <optional>
#include <ostream>
#include <type_traits>

#include <gtest/gtest.h>

#include "unit/fc/HbaVendors.h"

namespace {
// What the handler of the tests was called with, and what it answers.
HBA_HANDLE calledHandle;
std::vector<std::uint64_t> calledWith;
int called;
HBA_STATUS answer;

template <typename Value> std::uint64_t bits(Value value) {
    if constexpr (std::is_pointer_v<Value>)
        return reinterpret_cast<std::uintptr_t>(value);
    else if constexpr (std::is_same_v<Value, HBA_WWN>)
        return std::bit_cast<std::uint64_t>(value);
    else
        return static_cast<std::uint64_t>(value);
}

/// A handler of any type that keeps what it is called with.
template <typename Handler> struct Recorder;
template <typename Result, typename... Arguments>
struct Recorder<Result (*)(HBA_HANDLE, Arguments...)> {
    static Result handle(HBA_HANDLE handle, Arguments... arguments) {
        calledHandle = handle;
        calledWith = {bits(arguments)...};
        ++called;
        if constexpr (!std::is_void_v<Result>) return answer;
    }
};
template <auto Member> void record(HBA_ENTRYPOINTS &table) {
    using Handler = std::remove_reference_t<decltype(table.*Member)>;
    table.*Member = &Recorder<Handler>::handle;
}

// Arguments that are told apart by their places; nobody looks behind the pointers.
char places[4];
void *const REQUEST = &places[0], *const RESPONSE = &places[1], *const SENSE = &places[2];
template <typename Record> Record *out() {
    return reinterpret_cast<Record *>(&places[3]);
}
constexpr HBA_WWN WWN = {{0x50, 0x00, 0x09, 0x72, 0x08, 0xA1, 0x77, 0xB0}};
constexpr HBA_UINT64 LUN = 0x0123456789ABCDEF;
HBA_UINT32 size = 4096;

struct PassCase {
    const char *what;
    std::size_t position; // of the handler in the table
    void (*set)(HBA_ENTRYPOINTS &);
    /// Makes the call; its status, where it has one.
    std::optional<HBA_STATUS> (*call)(HBA_HANDLE);
    std::vector<std::uint64_t> arguments;
    bool answers; // the handler gives a status
};
const PassCase CALLS[] = {
    {"CloseAdapter",
     6,
     record<&HBA_ENTRYPOINTS::CloseAdapterHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         HBA_CloseAdapter(handle);
         return std::nullopt;
     },
     {},
     false},
    {"GetAdapterAttributes",
     7,
     record<&HBA_ENTRYPOINTS::GetAdapterAttributesHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetAdapterAttributes(handle, out<HBA_ADAPTERATTRIBUTES>());
     },
     {bits(&places[3])},
     true},
    {"GetAdapterPortAttributes",
     8,
     record<&HBA_ENTRYPOINTS::GetAdapterPortAttributesHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetAdapterPortAttributes(handle, 0xFFFFFFF1, out<HBA_PORTATTRIBUTES>());
     },
     {0xFFFFFFF1, bits(&places[3])},
     true},
    {"GetPortStatistics",
     9,
     record<&HBA_ENTRYPOINTS::GetPortStatisticsHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetPortStatistics(handle, 3, out<HBA_PORTSTATISTICS>());
     },
     {3, bits(&places[3])},
     true},
    {"GetDiscoveredPortAttributes",
     10,
     record<&HBA_ENTRYPOINTS::GetDiscoveredPortAttributesHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetDiscoveredPortAttributes(handle, 3, 4, out<HBA_PORTATTRIBUTES>());
     },
     {3, 4, bits(&places[3])},
     true},
    {"GetPortAttributesByWWN",
     11,
     record<&HBA_ENTRYPOINTS::GetPortAttributesByWWNHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetPortAttributesByWWN(handle, WWN, out<HBA_PORTATTRIBUTES>());
     },
     {bits(WWN), bits(&places[3])},
     true},
    {"SendCTPassThru",
     12,
     record<&HBA_ENTRYPOINTS::SendCTPassThruHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_SendCTPassThru(handle, REQUEST, 16, RESPONSE, 17);
     },
     {bits(REQUEST), 16, bits(RESPONSE), 17},
     true},
    {"RefreshInformation",
     13,
     record<&HBA_ENTRYPOINTS::RefreshInformationHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> { return HBA_RefreshInformation(handle); },
     {},
     false},
    {"ResetStatistics",
     14,
     record<&HBA_ENTRYPOINTS::ResetStatisticsHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> { return HBA_ResetStatistics(handle, 3); },
     {3},
     false},
    {"GetFcpTargetMapping",
     15,
     record<&HBA_ENTRYPOINTS::GetFcpTargetMappingHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetFcpTargetMapping(handle, out<HBA_FCPTARGETMAPPING>());
     },
     {bits(&places[3])},
     true},
    {"GetFcpPersistentBinding",
     16,
     record<&HBA_ENTRYPOINTS::GetFcpPersistentBindingHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetFcpPersistentBinding(handle, out<HBA_FCPBINDING>());
     },
     {bits(&places[3])},
     true},
    {"GetEventBuffer",
     17,
     record<&HBA_ENTRYPOINTS::GetEventBufferHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetEventBuffer(handle, out<HBA_EVENTINFO>(), &size);
     },
     {bits(&places[3]), bits(&size)},
     true},
    {"SetRNIDMgmtInfo",
     18,
     record<&HBA_ENTRYPOINTS::SetRNIDMgmtInfoHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_SetRNIDMgmtInfo(handle, out<HBA_MGMTINFO>());
     },
     {bits(&places[3])},
     true},
    {"GetRNIDMgmtInfo",
     19,
     record<&HBA_ENTRYPOINTS::GetRNIDMgmtInfoHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_GetRNIDMgmtInfo(handle, out<HBA_MGMTINFO>());
     },
     {bits(&places[3])},
     true},
    {"SendRNID",
     20,
     record<&HBA_ENTRYPOINTS::SendRNIDHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_SendRNID(handle, WWN, PORT_WWN, RESPONSE, &size);
     },
     {bits(WWN), 1, bits(RESPONSE), bits(&size)},
     true},
    {"SendScsiInquiry",
     21,
     record<&HBA_ENTRYPOINTS::ScsiInquiryHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_SendScsiInquiry(handle, WWN, LUN, 1, 0x83, RESPONSE, 255, SENSE, 18);
     },
     {bits(WWN), LUN, 1, 0x83, bits(RESPONSE), 255, bits(SENSE), 18},
     true},
    {"SendReportLUNs",
     22,
     record<&HBA_ENTRYPOINTS::ReportLUNsHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_SendReportLUNs(handle, WWN, RESPONSE, 255, SENSE, 18);
     },
     {bits(WWN), bits(RESPONSE), 255, bits(SENSE), 18},
     true},
    {"SendReadCapacity",
     23,
     record<&HBA_ENTRYPOINTS::ReadCapacityHandler>,
     [](HBA_HANDLE handle) -> std::optional<HBA_STATUS> {
         return HBA_SendReadCapacity(handle, WWN, LUN, RESPONSE, 8, SENSE, 18);
     },
     {bits(WWN), LUN, bits(RESPONSE), 8, bits(SENSE), 18},
     true},
};
void PrintTo(const PassCase &row, std::ostream *os) {
    *os << row.what;
}

/// Two libraries; the second has an adapter open, and of the handlers beyond open only the one
/// under test, if any.
class HbaCalls : public ::testing::TestWithParam<PassCase> {
protected:
    HBA_HANDLE open(bool withHandler) {
        called = 0;
        answer = HBA_STATUS_OK;
        HbaVendor &vendor = host.vendors[1];
        vendor.count = 1;
        vendor.opening = [](char *) { return 0xABCD5678; };
        vendor.leaving = [withHandler](HBA_ENTRYPOINTS &table) {
            table.CloseAdapterHandler = nullptr;
            if (withHandler) GetParam().set(table);
        };
        host.load(2);
        HBA_GetNumberOfAdapters();
        return HBA_OpenAdapter("com.example1-0");
    }
    HbaVendors host;
};
INSTANTIATE_TEST_SUITE_P(Calls, HbaCalls, ::testing::ValuesIn(CALLS),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_P(HbaCalls, ReachTheHandlerWithTheVendorsHandle) {
    const HBA_HANDLE handle = open(true);
    ASSERT_EQ(handle, 0x15678u);
    using Pointers = std::array<std::uintptr_t, sizeof(HBA_ENTRYPOINTS) / sizeof(void *)>;
    const auto pointers = std::bit_cast<Pointers>(librarytable[1].entryPoints);
    for (std::size_t at = 6; at < pointers.size(); ++at)
        ASSERT_EQ(pointers[at] != 0, at == GetParam().position) << at;

    const std::optional<HBA_STATUS> status = GetParam().call(handle);
    EXPECT_EQ(called, 1);
    EXPECT_EQ(calledHandle, 0xABCD5678u);
    EXPECT_EQ(calledWith, GetParam().arguments);
    if (status) {
        EXPECT_EQ(*status, HBA_STATUS_OK);
    }
    (void)GetParam().call(0x1FFFF); // whatever lower half
    EXPECT_EQ(called, 2);
    EXPECT_EQ(calledHandle, 0xABCD5678u);
}

TEST_P(HbaCalls, GiveTheHandlersStatus) {
    const HBA_HANDLE handle = open(true);
    for (const HBA_STATUS status : {1u, 3u, 7u, 29u, 0x80000000u, 0xFFFFFFFFu}) {
        answer = status;
        const std::optional<HBA_STATUS> given = GetParam().call(handle);
        ASSERT_EQ(given.has_value(), std::string(GetParam().what) != "CloseAdapter");
        if (given) {
            EXPECT_EQ(*given, GetParam().answers ? status : HBA_STATUS_OK);
        }
    }
    EXPECT_EQ(called, 6);
}

TEST_P(HbaCalls, WithoutTheHandlerDoNothingWell) {
    const HBA_HANDLE handle = open(false);
    size = 4096;
    const std::array<char, 4> before = std::to_array(places);
    EXPECT_EQ(GetParam().call(handle).value_or(HBA_STATUS_OK), HBA_STATUS_OK);
    EXPECT_EQ(called, 0);
    EXPECT_EQ(std::to_array(places), before);
    EXPECT_EQ(size, 4096u);
}

TEST_P(HbaCalls, WithoutAGoodHandleReachNobody) {
    const HBA_HANDLE good = open(true);
    const struct {
        HBA_HANDLE handle;
        HBA_STATUS status;
    } cases[] = {
        {0x00025678, 1}, {0x001F0000, 1}, {0x00200000, 1},
        {0x0020FFFF, 1}, {0x00210000, 3}, {0xFFFF5678, 3},
    };
    for (const auto &row : cases)
        EXPECT_EQ(GetParam().call(row.handle).value_or(row.status), row.status) << row.handle;
    EXPECT_EQ(called, 0);

    HBA_FreeLibrary();
    EXPECT_EQ(GetParam().call(good).value_or(HBA_STATUS_ERROR), HBA_STATUS_ERROR);
    EXPECT_EQ(called, 0);
}

TEST(HbaCallTable, HasEveryHandlerBehindOpen) {
    std::size_t position = 6;
    for (const PassCase &row : CALLS) EXPECT_EQ(row.position, position++) << row.what;
    EXPECT_EQ(position * sizeof(void *), sizeof(HBA_ENTRYPOINTS));
}
} // namespace
