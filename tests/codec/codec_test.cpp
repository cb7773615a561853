#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <tuple>
#include <type_traits>

#include "BroadsoftServiceHelper.h"
#include "Serializer.h"

namespace {

using Fields = std::vector<std::string>;
using H = BroadsoftServiceHelper;

// Reads and writes records with the platform's own codec, independently of the helper's.
Fields fieldsOf(std::string record) {
    Fields fields(6);
    for (std::string& field : fields) {
        Serializer::deserialize(record, field, false);
    }
    return fields;
}
std::string recordOf(const Fields& fields) {
    std::string record;
    for (const std::string& field : fields) {
        Serializer::serialize(record, field, false);
    }
    return record;
}

// One call family's item type, kind word and list accessors, so each typed case runs for all three.
template <typename ItemT, const char* Kind, auto GetCalls, auto SetCalls, auto ToRecords, auto FromRecords>
struct Family {
    using Item = ItemT;
    using Info = typename std::decay_t<decltype((Item().*GetCalls)())>::value_type;
    static constexpr const char* kKind = Kind;
    static constexpr bool kHasViewed = std::is_same_v<Item, MissedCallItem>;
    static constexpr auto getCalls = GetCalls, setCalls = SetCalls, toRecords = ToRecords, fromRecords = FromRecords;
};
constexpr char kMissed[] = "Missed", kPlaced[] = "Placed", kReceived[] = "Received";
using Missed =
    Family<MissedCallItem, kMissed, &MissedCallItem::getMissedCallInfoList, &MissedCallItem::setMissedCallInfoList,
           &H::convertMissedCallsToStringData, &H::convertStringDataToMissedCalls>;
using Dialled =
    Family<DialledCallItem, kPlaced, &DialledCallItem::getDialledCallInfoList, &DialledCallItem::setDialledCallInfoList,
           &H::convertDialledCallsToStringData, &H::convertStringDataToDialledCalls>;
using Received = Family<ReceivedCallItem, kReceived, &ReceivedCallItem::getReceivedCallInfoList,
                        &ReceivedCallItem::setReceivedCallInfoList, &H::convertReceivedCallsToStringData,
                        &H::convertStringDataToReceivedCalls>;

// Surname, entry id, unique id, viewed flag, number of calls, then per call: number, time, id, mode.
template <typename F>
Fields summary(const typename F::Item& item) {
    const auto& calls = (item.*F::getCalls)();
    Fields result{item.getSurname(), item.getEntryId(), item.getUniqueId(), "", std::to_string(calls.size())};
    if constexpr (F::kHasViewed) {
        result[3] = item.getViewed() ? "viewed" : "";
    }
    for (const CallInfo& call : calls) {
        result.insert(result.end(), {call.remoteNumber, call.callTime, call.callId, std::to_string(call.callInfoMode)});
    }
    return result;
}

template <typename F>
class CallFamily : public ::testing::Test {};
using Families = ::testing::Types<Missed, Dialled, Received>;
TYPED_TEST_SUITE(CallFamily, Families);

TYPED_TEST(CallFamily, RoundTripKeepsOnlyTheFirstCallAndAppends) {
    typename TypeParam::Item item;
    item.setSurname("Doe");
    item.setEntryId("e7");
    item.setUniqueId("u9");
    if constexpr (TypeParam::kHasViewed) {
        item.setViewed(true);
    }
    typename TypeParam::Info first, second;
    first.remoteNumber = "0301";
    first.callTime = "2024-03-01T10:20:30";
    first.callId = second.remoteNumber = "other";
    (item.*TypeParam::setCalls)({first, second});
    std::deque<typename TypeParam::Item> items{item}, back(1);
    Fields records{"earlier"};

    TypeParam::toRecords(items, records);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(fieldsOf(records[1]), (Fields{TypeParam::kKind, "2024-03-01T10:20:30", "0301", "Doe", "e7",
                                            TypeParam::kHasViewed ? "true" : ""}));
    TypeParam::fromRecords({records[1]}, back);
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(summary<TypeParam>(back[0]), (Fields{"", "", "", "", "0"}));
    EXPECT_EQ(summary<TypeParam>(back[1]), (Fields{"Doe", "e7", "e7", TypeParam::kHasViewed ? "viewed" : "", "1",
                                                   "0301", "2024-03-01T10:20:30", "", "2"}));
}

// An item without calls, like a record of unknown kind, comes back with one empty call.
TYPED_TEST(CallFamily, ItemWithoutCallsWritesEmptyFields) {
    std::deque<typename TypeParam::Item> items(1), back;
    items[0].setSurname("Doe");
    Fields records;
    TypeParam::toRecords(items, records);
    EXPECT_EQ(fieldsOf(records.at(0)), (Fields{TypeParam::kKind, "", "", "", "", ""}));
    TypeParam::fromRecords({records[0], recordOf({"missed", "t", "n", "Doe", "e7", "true"})}, back);
    ASSERT_EQ(back.size(), 2u);
    for (const auto& item : back) {
        EXPECT_EQ(summary<TypeParam>(item), (Fields{"", "", "", "", "1", "", "", "", "2"}));
    }
}

TEST(DeserializeRecord, UnknownOrMiscasedKindLeavesTheOtherOutputsAlone) {
    for (const char* kind : {"missed", "Dialled", ""}) {
        std::string record = recordOf({kind, "a", "b", "c", "d", "e"}), read;
        Fields kept(5, "keep");
        H::deserializeRecord(record, read, kept[0], kept[1], kept[2], kept[3], kept[4]);
        EXPECT_EQ(read, kind);
        EXPECT_EQ(kept, Fields(5, "keep")) << kind;
    }
}

// The missed-call reader does not check the kind word; only an exact "true" marks a call viewed,
// and the single-item writer writes the flag as "true" or "false".
TEST(MissedCallItem, ViewedFlag) {
    for (const auto& [kind, flag, viewed] :
         {std::tuple{"Missed", "true", true}, std::tuple{"Placed", "true", true}, std::tuple{"Missed", "True", false},
          std::tuple{"Missed", "", false}, std::tuple{"Missed", "false", false}}) {
        MissedCallItem item, back;
        std::string record = recordOf({kind, "t", "n", "Doe", "e7", flag});
        H::populateMissedCallItemFromStringData(item, record);
        EXPECT_EQ(summary<Missed>(item), (Fields{"Doe", "e7", "e7", viewed ? "viewed" : "", "1", "n", "t", "", "2"}));
        H::convertMissedCallItemToString(item, record);
        EXPECT_EQ(fieldsOf(record)[5], viewed ? "true" : "false");
        H::populateMissedCallItemFromStringData(back, record);
        EXPECT_EQ(back.getViewed(), viewed) << kind << flag;
    }
}

// Formats in a chosen time zone and puts the caller's zone back afterwards.
class FormatTime : public ::testing::Test {
protected:
    void TearDown() override {
        savedZone_ ? setenv("TZ", savedZone_->c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    static std::string inZone(const char* zone, std::string time) {
        setenv("TZ", zone, 1);
        tzset();
        H::formatTime(time);
        return time;
    }
    std::optional<std::string> savedZone_ =
        std::getenv("TZ") ? std::optional<std::string>(std::getenv("TZ")) : std::nullopt;
};

// The stamp is local time, any offset ignored, read with the daylight-saving state of the present
// moment. The zones pin that state whatever today's date: one keeps summer time all year, Tokyo
// had summer time in 1950 and has none now.
TEST_F(FormatTime, ConvertsLocalStampsToUtc) {
    const bool wideTime = sizeof(std::time_t) == 8;  // a 32-bit calendar time cannot hold 2040
    const struct {
        const char *zone, *stamp, *expected;
    } cases[] = {
        {"<+01>-1", "2024-03-01T10:20:30", "2024-03-01T09:20:30+00:00"},
        {"<+01>-1", "2024-03-01T10:20:30+05:00", "2024-03-01T09:20:30+00:00"},
        {"XST-1XDT,0/0,J365/25", "2024-01-15T12:00:00", "2024-01-15T10:00:00+00:00"},
        {"Asia/Tokyo", "1950-07-15T12:00:00", "1950-07-15T03:00:00+00:00"},
        {"<+01>-1", "2040-06-01T10:00:00+01:00", wideTime ? "2040-06-01T09:00:00+00:00" : "2040-06-01T10:00:00"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(inZone(c.zone, c.stamp), c.expected) << c.zone << " " << c.stamp;
    }
}

TEST_F(FormatTime, EmptyStampGivesThePresentMoment) {
    const std::time_t before = std::time(nullptr);
    const std::string result = inZone("<+01>-1", "");
    const std::time_t after = std::time(nullptr);
    std::tm fields{};
    ASSERT_STREQ(strptime(result.c_str(), "%Y-%m-%dT%H:%M:%S+00:00", &fields), "") << result;
    EXPECT_LE(before, timegm(&fields));
    EXPECT_GE(after, timegm(&fields));
}

}  // namespace
