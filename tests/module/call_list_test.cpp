// Call list import: the fetch with its change token, the record conversion and identifiers.
#include <gtest/gtest.h>

#include "Cryptographer.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleTestSupport.h"

using namespace moduletest;
using Broadsoft::Filters::FilterTypes;

namespace {

const FilterTypes kCallLogs = static_cast<FilterTypes>(0);
const std::string kEmptyCallLogs =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CallLogs xmlns=\"http://schema.broadsoft.com/xsi\"><placed></placed>"
    "<received></received><missed></missed></CallLogs>";

class CallListTest : public ModuleTest {
protected:
    // The trace lines of the records that were converted, from the `from`-th log line on.
    std::vector<std::string> convertedRecords(std::size_t from = 0) const {
        std::vector<std::string> converted;
        const auto records = log.records();
        for (std::size_t i = from; i < records.size(); ++i) {
            const auto& record = records[i];
            if (record.message.rfind("handleSingleCallLogRecord() type=", 0) == 0) {
                converted.push_back(record.message);
            }
        }
        return converted;
    }
};

TEST_F(CallListTest, ChangeTokenDetectsAnUnchangedList) {
    router.callList = callListBody({"1;15.03.24 14:30;Anna;0301234;Küche;999;0:05"});
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(token, Cryptographer().md5(router.callList));
    EXPECT_EQ(access.callListSize(), 1);
    EXPECT_EQ(access.callLogIds(), std::vector<std::string>{"2403151430"});

    EXPECT_FALSE(box.sync(kCallLogs, token));
    EXPECT_EQ(token, Cryptographer().md5(router.callList));
    EXPECT_EQ(access.callListSize(), 50) << "reset value of an unchanged fetch";
    EXPECT_TRUE(access.callLogIds().empty());

    router.callList.back() = ' ';  // one changed byte converts again
    EXPECT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 1);
}

TEST_F(CallListTest, EveryBuiltEntryIsDroppedAtFilingSoTheListsStayEmpty) {
    router.callList = callListBody(
        {"1;15.03.24 14:30;Anna;0301234;", "2;15.03.24 14:31;Bert;0305678;", "4;15.03.24 14:32;Cleo;0309999;"});
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.fragments(), "");
    EXPECT_EQ(box.getData(kCallLogs), kEmptyCallLogs);
    EXPECT_EQ(convertedRecords().size(), 3u);
    EXPECT_EQ(access.callLogIds().size(), 3u);
}

TEST_F(CallListTest, AtMostFiftyRecordsAreConvertedAndTheFirstTwoLinesAreSkipped) {
    std::vector<std::string> records;
    for (int i = 0; i < 75; ++i) {
        records.push_back("1;01.02.24 10:" + std::string(i < 10 ? "0" : "") + std::to_string(i % 60) + ";N;1;");
    }
    router.callList = callListBody(records);
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 50);
    EXPECT_EQ(access.callLogIds().size(), 50u);
    EXPECT_EQ(access.callLogIds().back(), "2402011049");

    router.callList = "sep=;\nTyp;Datum\n";  // header only
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 0);
}

TEST_F(CallListTest, LineSplittingKeepsEmptyLinesCarriageReturnsAndAnUnterminatedLastLine) {
    router.callList = "sep=;\r\nheader\r\n1;15.03.24 14:30;Anna;0301234;x\r\n\r\n2;16.03.24 09:00;;0305;x";
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 3) << "the empty line counts as a record";
    EXPECT_TRUE(logged(log, 2, "handleSingleCallLogRecord() record='\r'"));
    EXPECT_EQ(access.callLogIds(), (std::vector<std::string>{"2403151430", "2403160900"}));
}

TEST_F(CallListTest, IdentifiersAreDistinctWithinAMinuteAndRepeatInTheNextFetch) {
    router.callList = callListBody({"1;15.03.24 14:30;Anna;1;", "2;15.03.24 14:30;Bert;2;", "4;15.03.24 14:30;C;3;"});
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_TRUE(logged(log, 6, "getCallLogId() callLogId='2403151430' found='2'"));
    const auto first = convertedRecords();

    router.callList += "\n";  // changed body, same calls
    const std::size_t secondFetch = log.records().size();
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(convertedRecords(secondFetch), first);
    EXPECT_EQ(access.callLogIds(), std::vector<std::string>(3, "2403151430"));
}

struct RecordCase {
    std::string record;
    std::string expectedTrace;  // empty: the record is dropped with `expectedError`
    std::string expectedError;
};

RecordCase converted(const std::string& record, const std::string& trace) {
    return {record, trace, ""};
}
RecordCase dropped(const std::string& record, const std::string& error) {
    return {record, "", error};
}

class CallRecordTest : public CallListTest, public ::testing::WithParamInterface<RecordCase> {};

TEST_P(CallRecordTest, ConvertsOrDropsTheRecord) {
    const RecordCase& c = GetParam();
    access.handleCallRecord(c.record);
    if (c.expectedTrace.empty()) {
        EXPECT_TRUE(convertedRecords().empty());
        EXPECT_TRUE(logged(log, 2, c.expectedError)) << c.record;
        EXPECT_TRUE(access.callLogIds().empty());
    } else {
        ASSERT_EQ(convertedRecords(), std::vector<std::string>{"handleSingleCallLogRecord() " + c.expectedTrace});
        EXPECT_EQ(access.fragments(), "");
    }
}

std::string trace(const std::string& type, const std::string& time, const std::string& name,
                  const std::string& number) {
    return "type='" + type + "', time='" + time + "+00:00', normalizedName='" + name + "', normalizedNumber='" +
           number + "'";
}

INSTANTIATE_TEST_SUITE_P(
    Records, CallRecordTest,
    ::testing::Values(
        converted("1;15.03.24 14:30;Anna;0301234;...", trace("1", "2024-03-15T14:30:00", "Anna", "0301234")),
        converted("2;15.03.24 14:30;;0301234;", trace("2", "2024-03-15T14:30:00", "0301234", "0301234")),
        converted("2;15.03.24 14:30;Anna;;", trace("2", "2024-03-15T14:30:00", "Anna", "Anna")),
        converted("2;15.03.24 14:30;Anna", trace("2", "2024-03-15T14:30:00", "Anna", "Anna")),
        dropped("2;15.03.24 14:30;;;", "handleSingleCallLogRecord() record='2;15.03.24 14:30;;;'"),
        dropped("", "handleSingleCallLogRecord() record=''"),
        converted("1;01.01.24 08:00;Nobody;Unbekannt;",
                  trace("1", "2024-01-01T08:00:00", "Caller.Unknown.XXX", "Caller.Unknown.XXX")),
        converted("1;01.01.24 08:00;Unbekannt;0301;", trace("1", "2024-01-01T08:00:00", "Unbekannt", "0301")),
        converted("1;01.01.24 08:00;0301234 (Mobil);0301234;", trace("1", "2024-01-01T08:00:00", "0301234", "0301234")),
        converted("1;01.01.24 08:00;0301234(Mobil);0301234;", trace("1", "2024-01-01T08:00:00", "0301234", "0301234")),
        converted("1;01.01.24 08:00;0301234 (Mobil);0309999;",
                  trace("1", "2024-01-01T08:00:00", "0301234 (Mobil)", "0309999")),
        converted("1;01.01.24 08:00;A & B <Co>;0301;",
                  trace("1", "2024-01-01T08:00:00", "A &amp; B &lt;Co&gt;", "0301")),
        converted("4;01.01.24 08:00;;<sip>;", trace("4", "2024-01-01T08:00:00", "&lt;sip&gt;", "<sip>")),
        converted("1;15.03.24  14:30;Anna;1;", trace("1", "2024-03-15T14:30:00", "Anna", "1")),
        dropped("1;15.03.24;Anna;1;", "handleSingleCallLogRecord() time='15.03.24'"),
        // Fields longer than their scratch space reject the record instead of being cut.
        dropped("1234;15.03.24 14:30;Anna;1;", "handleSingleCallLogRecord() record='1234;"),
        dropped("1;15.03.24   14:30;Anna;1;", "handleSingleCallLogRecord() record='1;15.03.24   14:30"),
        dropped("1;15.03.2024  14:30:59;Anna;1;", "handleSingleCallLogRecord() record='1;15.03.2024"),
        dropped("1;15.03.2024 1:3;Anna;1;", "handleSingleCallLogRecord() time='15.03.2024 1:3'"),
        dropped("1;15.03.24 14:30;" + std::string(100, 'n') + ";1;", "handleSingleCallLogRecord() record='"),
        dropped("1;15.03.24 14:30;Anna;" + std::string(100, '5') + ";", "handleSingleCallLogRecord() record='"),
        converted("1;15.03.24 14:30;" + std::string(99, 'n') + ";1;",
                  trace("1", "2024-03-15T14:30:00", std::string(99, 'n'), "1"))));

}  // namespace
