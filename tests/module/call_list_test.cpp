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

    // Lines end at "\n" only, and an empty line is a record.
    router.callList = "sep=;\r\nheader\r\n1;15.03.24 14:30;Anna;0301234;x\r\n\r\n2;16.03.24 09:00;;0305;x";
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 3);
    EXPECT_TRUE(log.contains("handleSingleCallLogRecord() record='\r'", 2));
    EXPECT_EQ(access.callLogIds(), (std::vector<std::string>{"2403151430", "2403160900"}));
}

TEST_F(CallListTest, IdentifiersAreDistinctWithinAMinuteOnly) {
    for (const char* record : {"1;15.03.24 14:30;A;1;", "2;15.03.24 14:30;B;2;", "4;15.03.24 14:31;C;3;"}) {
        access.handleCallRecord(record);
    }
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403151430' found='1'", 6));
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403151431' found='0'", 6));
}

std::string trace(const std::string& type, const std::string& time, const std::string& name,
                  const std::string& number) {
    return "type='" + type + "', time='" + time + "+00:00', normalizedName='" + name + "', normalizedNumber='" +
           number + "'";
}

// The scanner's own cases are in parts_test; these are the conversion around it. The name is
// escaped, the number is not; control characters and invalid UTF-8 go through as they are.
TEST_F(CallListTest, RecordConversion) {
    const std::string t = "2024-01-01T08:00:00";
    const struct {
        std::string record;
        std::string expected;  // the trace line, or the error line of a rejected record
    } rows[] = {
        {"1;15.03.24 14:30;Anna;0301234;...", trace("1", "2024-03-15T14:30:00", "Anna", "0301234")},
        {"1;01.01.24 08:00;Nobody;Unbekannt;", trace("1", t, "Caller.Unknown.XXX", "Caller.Unknown.XXX")},
        {"1;01.01.24 08:00;Unbekannt;0301;", trace("1", t, "Unbekannt", "0301")},
        {"1;01.01.24 08:00;0301234 (Mobil);0301234;", trace("1", t, "0301234", "0301234")},
        {"1;01.01.24 08:00;0301234(Mobil);0301234;", trace("1", t, "0301234", "0301234")},
        {"1;01.01.24 08:00;0301234 (Mobil);0309999;", trace("1", t, "0301234 (Mobil)", "0309999")},
        {"1;01.01.24 08:00;A & B <Co>;0301;", trace("1", t, "A &amp; B &lt;Co&gt;", "0301")},
        {"4;01.01.24 08:00;;<sip>;", trace("4", t, "&lt;sip&gt;", "<sip>")},
        {"1;01.01.24 08:00;Tab\there;030<1>\x01;", trace("1", t, "Tab\there", "030<1>\x01")},
        {"2;01.01.24 08:00;Bad \xff\xfe;\x1b;", trace("2", t, "Bad \xff\xfe", "\x1b")},
        {"1;1.3.24 7:05;Anna;1;", trace("1", "2024-3-1T7:05:00", "Anna", "1")},
        {"2;15.03.24 14:30;;;", "record='2;15.03.24 14:30;;;'"},
        {"1234;15.03.24 14:30;Anna;1;", "record='1234;"},
        {"1;15.03.24;Anna;1;", "time='15.03.24'"},
        {"1;15.03.2024 1:3;Anna;1;", "time='15.03.2024 1:3'"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.record);
        log.clear();
        access.forgetConversions();
        access.handleCallRecord(row.record);
        const bool accepted = row.expected.rfind("type=", 0) == 0;
        EXPECT_EQ(access.callLogIds().size(), accepted ? 1u : 0u);
        EXPECT_TRUE(log.contains("handleSingleCallLogRecord() " + row.expected, accepted ? 6 : 2)) << log.text();
    }
    EXPECT_EQ(access.fragments(), "");
}

}  // namespace
