// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <ctime>
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

// Surname, entry id, unique id, viewed flag, number of calls, then per call: number, time, id, mode.
template <typename Item, typename GetCalls>
Fields summary(const Item& item, GetCalls getCalls) {
    const auto& calls = (item.*getCalls)();
    Fields result{item.getSurname(), item.getEntryId(), item.getUniqueId(), "", std::to_string(calls.size())};
    if constexpr (std::is_same_v<Item, MissedCallItem>) {
        result[3] = item.getViewed() ? "viewed" : "";
    }
    for (const CallInfo& call : calls) {
        result.insert(result.end(), {call.remoteNumber, call.callTime, call.callId, std::to_string(call.callInfoMode)});
    }
    return result;
}

// For each call family: only an item's first call is written, an item without calls writes empty
// fields, and the list readers append; a record of unknown kind, like one of empty fields, reads as
// one empty call. Field bytes go through unchanged, a backslash and ";" included: records are
// written and read without escaping.
TEST(CallFamilies, RoundTrip) {
    const auto check = [](auto item, const char* kind, auto getCalls, auto setCalls, auto toRecords, auto fromRecords) {
        SCOPED_TRACE(kind);
        using Item = decltype(item);
        constexpr bool kHasViewed = std::is_same_v<Item, MissedCallItem>;
        item.setSurname("Doe\\n;");
        item.setEntryId("e7");
        item.setUniqueId("u9");
        if constexpr (kHasViewed) {
            item.setViewed(true);
        }
        typename std::decay_t<decltype((item.*getCalls)())>::value_type first, second;
        first.remoteNumber = "0301";
        first.callTime = "2024-03-01T10:20:30";
        first.callId = second.remoteNumber = "other";
        (item.*setCalls)({first, second});
        std::deque<Item> items{item, Item()}, back(1);
        Fields records{"earlier"};

        toRecords(items, records);
        ASSERT_EQ(records.size(), 3u);
        const std::string viewed = kHasViewed ? "true" : "";
        EXPECT_EQ(fieldsOf(records[1]), (Fields{kind, "2024-03-01T10:20:30", "0301", "Doe\\n;", "e7", viewed}));
        EXPECT_EQ(fieldsOf(records[2]), (Fields{kind, "", "", "", "", ""}));
        fromRecords({records[1], records[2], recordOf({"missed", "t", "n", "Doe", "e7", "true"})}, back);
        ASSERT_EQ(back.size(), 4u);
        EXPECT_EQ(summary(back[0], getCalls), (Fields{"", "", "", "", "0"}));
        EXPECT_EQ(summary(back[1], getCalls), (Fields{"Doe\\n;", "e7", "e7", kHasViewed ? "viewed" : "", "1", "0301",
                                                      "2024-03-01T10:20:30", "", "2"}));
        for (const Item& empty : {back[2], back[3]}) {
            EXPECT_EQ(summary(empty, getCalls), (Fields{"", "", "", "", "1", "", "", "", "2"}));
        }
    };
#define FAMILY(Name, kind)                                                                                            \
    check(Name##CallItem(), kind, &Name##CallItem::get##Name##CallInfoList, &Name##CallItem::set##Name##CallInfoList, \
          H::convert##Name##CallsToStringData, H::convertStringDataTo##Name##Calls)
    FAMILY(Missed, "Missed");
    FAMILY(Dialled, "Placed");
    FAMILY(Received, "Received");
#undef FAMILY
}

// A kind is read as it stands, a backslash included.
TEST(DeserializeRecord, UnknownOrMiscasedKindLeavesTheOtherOutputsAlone) {
    for (const char* kind : {"missed", "Dialled", "", "Missed\\"}) {
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
        EXPECT_EQ(summary(item, &MissedCallItem::getMissedCallInfoList),
                  (Fields{"Doe", "e7", "e7", viewed ? "viewed" : "", "1", "n", "t", "", "2"}));
        H::convertMissedCallItemToString(item, record);
        EXPECT_EQ(fieldsOf(record)[5], viewed ? "true" : "false");
        H::populateMissedCallItemFromStringData(back, record);
        EXPECT_EQ(back.getViewed(), viewed) << kind << flag;
    }
}

// Nothing else in this program reads the zone, so it is not put back.
std::string inZone(const char* zone, std::string time) {
    setenv("TZ", zone, 1);
    tzset();
    H::formatTime(time);
    return time;
}

// The stamp is local time, any offset ignored, read with the daylight-saving state of the present
// moment. The zones pin that state whatever today's date: one keeps summer time all year, Tokyo
// had summer time in 1950 and has none now.
TEST(FormatTime, ConvertsLocalStampsToUtc) {
    const bool wideTime = sizeof(std::time_t) == 8;  // a 32-bit calendar time cannot hold 2040
    const char* cases[][3] = {
        // zone, stamp, expected
        {"<+01>-1", "2024-03-01T10:20:30", "2024-03-01T09:20:30+00:00"},
        {"<+01>-1", "2024-03-01T10:20:30+05:00", "2024-03-01T09:20:30+00:00"},
        {"XST-1XDT,0/0,J365/25", "2024-01-15T12:00:00", "2024-01-15T10:00:00+00:00"},
        {"Asia/Tokyo", "1950-07-15T12:00:00", "1950-07-15T03:00:00+00:00"},
        {"<+01>-1", "2040-06-01T10:00:00+01:00", wideTime ? "2040-06-01T09:00:00+00:00" : "2040-06-01T10:00:00"},
        {"<-05>5", "9999-12-31T23:00:00", "9999-12-31T23:00:00"},  // in UTC past 9999: the cut stamp is kept
    };
    for (const auto& [zone, stamp, expected] : cases) {
        EXPECT_EQ(inZone(zone, stamp), expected) << zone << " " << stamp;
    }
}

TEST(FormatTime, EmptyStampGivesThePresentMoment) {
    const std::time_t before = std::time(nullptr);
    const std::string result = inZone("<+01>-1", "");
    std::tm fields{};
    ASSERT_STREQ(strptime(result.c_str(), "%Y-%m-%dT%H:%M:%S+00:00", &fields), "") << result;
    EXPECT_TRUE(before <= timegm(&fields) && timegm(&fields) <= std::time(nullptr)) << result;
}

}  // namespace
