// Call list import: the fetch with its change token, the line splitting, the record conversion
// and identifiers.
#include "Cryptographer.h"
#include "ModuleTest.h"

using namespace testsupport;

namespace {

const auto kCallLogs = Broadsoft::Filters::CallLogs;

using CallListTest = ModuleTest;

// The converted records only show in the trace and the identifier list: filing drops every entry.
TEST_F(CallListTest, FetchWithChangeTokenLimitAndFiling) {
    std::vector<std::string> records;
    for (int i = 0; i < 75; ++i) {
        records.push_back("1;01.02.24 10:" + std::string(i < 10 ? "0" : "") + std::to_string(i % 60) + ";N;1;");
    }
    router.callList = callListBody(records);
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(token, Cryptographer().md5(router.callList));
    EXPECT_EQ(access.callListSize(), 50);
    EXPECT_EQ(access.callLogIds().size(), 50u);
    EXPECT_EQ(access.callLogIds().back(), "2402011049");
    EXPECT_EQ(access.fragments(), "");
    EXPECT_NE(box.getData(kCallLogs).find("<placed></placed><received></received><missed></missed></CallLogs>"),
              std::string::npos);

    EXPECT_FALSE(box.sync(kCallLogs, token)) << "unchanged list";
    EXPECT_EQ(access.callListSize(), 50) << "reset value of an unchanged fetch";
    EXPECT_TRUE(access.callLogIds().empty());

    // Lines end at "\n" only, and an empty line is a record. Identifiers are distinct within a
    // minute only: the count of earlier ones is their suffix.
    router.callList =
        "sep=;\r\nheader\r\n1;15.03.24 14:30;Anna;0301234;x\r\n4;15.03.24 14:30;B;2;\n\r\n2;16.03.24 09:00;;0305;x";
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 4);
    EXPECT_TRUE(log.contains("handleSingleCallLogRecord() record='\r'", 2));
    EXPECT_EQ(access.callLogIds(), (std::vector<std::string>{"2403151430", "2403151430", "2403160900"}));
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403151430' found='1'", 6));
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403160900' found='0'", 6));
}

// Each row of calls.txt: a record and its trace line's fields, or the line that rejects it. The
// scanner's own cases are in parts_test; these are the conversion around it.
TEST_F(CallListTest, RecordConversion) {
    for (const Row& row : rowsOf("calls.txt")) {
        SCOPED_TRACE(row[0]);
        log.clear();
        access.forgetConversions();
        access.handleCallRecord(row[0]);
        const bool accepted = row.size() == 5;
        const std::string line = accepted ? "type='" + row[1] + "', time='" + row[2] + "+00:00', normalizedName='" +
                                                row[3] + "', normalizedNumber='" + row[4] + "'"
                                          : row[1];
        EXPECT_EQ(access.callLogIds().size(), accepted ? 1u : 0u);
        EXPECT_TRUE(log.contains("handleSingleCallLogRecord() " + line, accepted ? 6 : 2)) << log.text();
    }
    EXPECT_EQ(access.fragments(), "");
}

}  // namespace
