// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Call list import: the fetch with its change token, the line cut, the record reading and the
// entry, and the identifiers.
#include "CallList.h"
#include "Cryptographer.h"
#include "Documents.h"
#include "ModuleTest.h"

using namespace testsupport;
using namespace fritzbox_detail;

namespace {

const auto kCallLogs = Broadsoft::Filters::CallLogs;

using CallListTest = ModuleTest;

std::size_t linesWith(const LogCapture& log, const std::string& text) {
    const auto records = log.records();
    return std::count_if(records.begin(), records.end(),
                         [&text](const auto& record) { return record.message.find(text) != std::string::npos; });
}

// The converted records only show in the trace: filing drops every entry.
TEST_F(CallListTest, FetchWithChangeTokenLimitAndFiling) {
    std::vector<std::string> records;
    for (int i = 0; i < 75; ++i) {
        records.push_back("1;01.02.24 10:" + std::string(i < 10 ? "0" : "") + std::to_string(i % 60) + ";N;1;");
    }
    router.setCallList(callListBody(records));
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(token, Cryptographer().md5(router.callList()));
    EXPECT_TRUE(log.contains("retrieveCallLogData() m_callListSize='50'", 6));
    EXPECT_EQ(linesWith(log, "getCallLogId() "), 50u);
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2402011049' found='0'", 6));
    EXPECT_NE(box.getData(kCallLogs).find("<placed></placed><received></received><missed></missed></CallLogs>"),
              std::string::npos);

    log.clear();
    EXPECT_FALSE(box.sync(kCallLogs, token)) << "unchanged list";
    EXPECT_EQ(linesWith(log, "getCallLogId() "), 0u);

    // Identifiers are distinct within a minute only: the count of earlier ones is their suffix.
    router.setCallList(callListBody({"1;15.03.24 14:30;A;1;", "4;15.03.24 14:30;B;2;", "2;16.03.24 09:00;;0305;"}));
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403151430' found='1'", 6));
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403160900' found='0'", 6));
}

// Lines end at "\n" only, and an empty line is a record; the first 50 records are kept.
TEST(CallListLinesTest, CutAtLineFeedsAfterTwoHeaderLines) {
    const CallListLines lines = splitCallList("sep=;\r\nheader\r\n1;a\r\n4;b\n\r\n\n2;c");
    EXPECT_EQ(lines.records, (std::vector<std::string>{"1;a\r", "4;b", "\r", "", "2;c"}));
    EXPECT_EQ(lines.count, 5u);
    EXPECT_EQ(splitCallList("sep=;\nheader\n").count, 0u);
    const CallListLines many = splitCallList(callListBody(std::vector<std::string>(75, "x")));
    EXPECT_EQ(many.records.size(), 50u);
    EXPECT_EQ(many.count, 75u);
}

// Each row of calls.txt: a record and what it is read as, or what rejects it. The scanner's own
// cases are in parts_test; these are the conversion around it.
TEST(CallRecordTest, RecordReading) {
    for (const Row& row : rowsOf("calls.txt")) {
        SCOPED_TRACE(row[0]);
        const CallRecordReading reading = readCallRecord(row[0]);
        if (row[1] == "fields" || row[1] == "date") {
            EXPECT_EQ(reading.fault, row[1] == "fields" ? CallRecordFault::Fields : CallRecordFault::Date);
            EXPECT_EQ(reading.rejected, row[1] == "fields" ? row[0] : row[2]);
            continue;
        }
        ASSERT_EQ(reading.fault, CallRecordFault::None);
        const CallRecord& call = reading.record;
        EXPECT_EQ((Row{call.type, callTime(call), call.name, call.number}), Row(row.begin() + 1, row.end()));
    }
}

TEST(CallRecordTest, EntryTakesTheTimeCutAtNineteenCharacters) {
    const CallRecord call = readCallRecord("1;15.03.24 14:30;Anna;0301234;...").record;
    EXPECT_EQ(callLogIdBase(call.year, call.month, call.day, call.hour, call.minute), "2403151430");
    EXPECT_EQ(callLogsEntry(call.number, call.name, callTime(call), "24031514300"),
              "<callLogsEntry><phoneNumber>0301234</phoneNumber><name>Anna</name><time>2024-03-15T14:30:00</time>"
              "<callLogId>24031514300</callLogId></callLogsEntry>");
    EXPECT_EQ(callLogsEntry("", "", "123456789012345678901", ""),
              "<callLogsEntry><phoneNumber></phoneNumber><name></name><time>1234567890123456789</time><callLogId>"
              "</callLogId></callLogsEntry>");
}

}  // namespace
