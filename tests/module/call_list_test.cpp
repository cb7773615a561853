// Call list import: the fetch with its change token, the line splitting, the record conversion
// and identifiers.
#include "Cryptographer.h"
#include "ModuleTest.h"

using namespace testsupport;

namespace {

const auto kCallLogs = Broadsoft::Filters::CallLogs;

class CallListTest : public ModuleTest {
protected:
    // The trace lines of the records converted since the capture was last cleared.
    std::vector<std::string> converted() const {
        std::vector<std::string> lines;
        for (const auto& record : log.records()) {
            if (record.message.rfind("handleSingleCallLogRecord() type=", 0) == 0) {
                lines.push_back(record.message.substr(28));
            }
        }
        return lines;
    }
};

TEST_F(CallListTest, ChangeTokenLimitAndFiling) {
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
    // Every built entry is dropped when it is filed.
    EXPECT_EQ(access.fragments(), "");
    EXPECT_EQ(box.getData(kCallLogs),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CallLogs xmlns=\"http://schema.broadsoft.com/xsi\">"
              "<placed></placed><received></received><missed></missed></CallLogs>");

    EXPECT_FALSE(box.sync(kCallLogs, token)) << "unchanged list";
    EXPECT_EQ(access.callListSize(), 50) << "reset value of an unchanged fetch";
    EXPECT_TRUE(access.callLogIds().empty());

    router.callList = "sep=;\nTyp;Datum\n";  // header only
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 0);
}

TEST_F(CallListTest, LinesEndAtNewlineOnlyAndAnEmptyLineIsARecord) {
    router.callList = "sep=;\r\nheader\r\n1;15.03.24 14:30;Anna;0301234;x\r\n\r\n2;16.03.24 09:00;;0305;x";
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(access.callListSize(), 3);
    EXPECT_TRUE(log.contains("handleSingleCallLogRecord() record='\r'", 2));
    EXPECT_EQ(access.callLogIds(), (std::vector<std::string>{"2403151430", "2403160900"}));
}

TEST_F(CallListTest, IdentifiersAreDistinctWithinAMinuteAndRepeatInTheNextFetch) {
    router.callList = callListBody({"1;15.03.24 14:30;Anna;1;", "2;15.03.24 14:30;Bert;2;", "4;15.03.24 14:30;C;3;"});
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403151430' found='2'", 6));
    const auto first = converted();

    router.callList += "\n";  // changed body, same calls
    log.clear();
    ASSERT_TRUE(box.sync(kCallLogs, token));
    EXPECT_EQ(converted(), first);
    EXPECT_EQ(access.callLogIds(), std::vector<std::string>(3, "2403151430"));
}

std::string trace(const std::string& type, const std::string& time, const std::string& name,
                  const std::string& number) {
    return "type='" + type + "', time='" + time + "+00:00', normalizedName='" + name + "', normalizedNumber='" +
           number + "'";
}

// The scanner's own cases are in parts_test; these are the conversion around it.
TEST_F(CallListTest, RecordConversion) {
    const std::string t = "2024-01-01T08:00:00";
    const struct {
        std::string record;
        std::string expected;  // the trace line, or the error line of a dropped record
    } cases[] = {
        {"1;15.03.24 14:30;Anna;0301234;...", trace("1", "2024-03-15T14:30:00", "Anna", "0301234")},
        {"1;01.01.24 08:00;Nobody;Unbekannt;", trace("1", t, "Caller.Unknown.XXX", "Caller.Unknown.XXX")},
        {"1;01.01.24 08:00;Unbekannt;0301;", trace("1", t, "Unbekannt", "0301")},
        {"1;01.01.24 08:00;0301234 (Mobil);0301234;", trace("1", t, "0301234", "0301234")},
        {"1;01.01.24 08:00;0301234(Mobil);0301234;", trace("1", t, "0301234", "0301234")},
        {"1;01.01.24 08:00;0301234 (Mobil);0309999;", trace("1", t, "0301234 (Mobil)", "0309999")},
        {"1;01.01.24 08:00;A & B <Co>;0301;", trace("1", t, "A &amp; B &lt;Co&gt;", "0301")},
        {"4;01.01.24 08:00;;<sip>;", trace("4", t, "&lt;sip&gt;", "<sip>")},
        {"1;1.3.24 7:05;Anna;1;", trace("1", "2024-3-1T7:05:00", "Anna", "1")},
        {"2;15.03.24 14:30;;;", "record='2;15.03.24 14:30;;;'"},
        {"1234;15.03.24 14:30;Anna;1;", "record='1234;"},
        {"1;15.03.24;Anna;1;", "time='15.03.24'"},
        {"1;15.03.2024 1:3;Anna;1;", "time='15.03.2024 1:3'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.record);
        log.clear();
        access.forgetConversions();
        access.handleCallRecord(c.record);
        const bool accepted = c.expected.rfind("type=", 0) == 0;
        EXPECT_EQ(converted(), accepted ? std::vector<std::string>{c.expected} : std::vector<std::string>{});
        EXPECT_EQ(access.callLogIds().size(), accepted ? 1u : 0u);
        EXPECT_TRUE(accepted || log.contains("handleSingleCallLogRecord() " + c.expected, 2)) << log.text();
    }
    EXPECT_EQ(access.fragments(), "");
}

}  // namespace
