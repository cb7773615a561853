// The module's internal parts on their own: the call-record field scanner and the single-pass
// export walk.
#include <gtest/gtest.h>

#include "CallRecordScanner.h"
#include "ClientUtils.h"
#include "ExportWalk.h"

namespace {

using namespace fritzbox_detail;
using Texts = std::vector<std::string>;

struct ScanCase {
    std::string record;
    bool fits;
    Texts fields;  // type, date, name, number; empty when the scan fails
};

TEST(CallRecordScanner, FitsAndScans) {
    const std::string d = "15.03.24 14:30";
    const ScanCase cases[] = {
        {"1;" + d + ";Anna;0301;Küche;999;0:05", true, {"1", d, "Anna", "0301"}},
        {"2;" + d + ";;0301;", true, {"2", d, "0301", "0301"}},
        {"2;" + d + ";Anna;;", true, {"2", d, "Anna", "Anna"}},
        {"2;" + d + ";Anna", true, {"2", d, "Anna", "Anna"}},
        {"2;" + d + ";;;", true, {}},
        {"", true, {}},
        {";" + d + ";Anna;1;", true, {}},
        {"123;15.03.24  14:30;" + std::string(99, 'n') + ";" + std::string(99, '5') + ";" + std::string(200, 'x'),
         true,
         {"123", "15.03.24  14:30", std::string(99, 'n'), std::string(99, '5')}},
        {"1234;" + d + ";Anna;1;", false, {}},
        {"1;15.03.24   14:30;Anna;1;", false, {}},
        {"1;" + d + ";" + std::string(100, 'n') + ";1;", false, {}},
        {"1;" + d + ";Anna;" + std::string(100, '5'), false, {}},
        {"1;" + d + ";An" + std::string(1, '\0') + std::string(200, 'n'), true, {"1", d, "An", "An"}},
    };
    for (const ScanCase& c : cases) {
        SCOPED_TRACE(c.record);
        EXPECT_EQ(callRecordFieldsFit(c.record), c.fits);
        CallRecordFields fields;
        const bool scanned = c.fits && scanCallRecord(c.record.c_str(), fields);
        const Texts scannedFields = {fields.type, fields.date, fields.name, fields.number};
        EXPECT_EQ(scanned ? scannedFields : Texts{}, c.fields);
    }
}

Texts walked(const std::string& text, const std::string& begin, const std::string& end) {
    Texts found;
    forEachExtraction(text, begin, end, [&found](std::string& between) {
        found.push_back(between);
        return true;
    });
    return found;
}

// What the module's loops did before the walk: extraction from a copy until nothing is left.
Texts extractedRepeatedly(std::string text, const std::string& begin, const std::string& end) {
    Texts found;
    std::string between;
    while (ClientUtils::getStringBetweenKeywords(text, between, begin, end)) {
        found.push_back(between);
    }
    return found;
}

TEST(ExportWalk, HandsOutWhatRepeatedExtractionWould) {
    struct {
        std::string text, begin, end;
        Texts expected;
    } const cases[] = {{"<contacts><contact>A</contact>", "<contact", "</contact>", {"s><contact>A"}},
                       {"</c><c>a</c><c>b", "<c>", "</c>", {"a"}},
                       // removing the first pair joins "<con" and "tact>" into a new begin
                       {"<con<contact>A</contact>tact>B</contact>", "<contact", "</contact>", {">A", ">B"}},
                       {"<<c>1</c>c>2</c>", "<c>", "</c>", {"1", "2"}},
                       {"aaaa", "aa", "aa", {""}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(walked(c.text, c.begin, c.end), c.expected);
        EXPECT_EQ(extractedRepeatedly(c.text, c.begin, c.end), c.expected);
    }
}

// Every text of up to 12 letters over {a, b}: seams at every position and depth; an empty
// keyword finds nothing.
TEST(ExportWalk, AgreesWithRepeatedExtractionOnEveryShortText) {
    for (const auto& [begin, end] :
         {std::pair{"aab", "ba"}, std::pair{"aba", "b"}, std::pair{"", "b"}, std::pair{"a", ""}}) {
        for (unsigned bits = 1; bits < (1u << 13); ++bits) {
            std::string text;
            for (unsigned rest = bits; rest > 1; rest >>= 1) {
                text.push_back(rest & 1 ? 'a' : 'b');
            }
            ASSERT_EQ(walked(text, begin, end), extractedRepeatedly(text, begin, end)) << text;
        }
    }
}

TEST(ExportWalk, StopsWhenTheVisitorSaysSo) {
    Texts seen;
    forEachExtraction("<c>1</c><c>2</c>", "<c>", "</c>",
                      [&seen](std::string& between) { return seen.push_back(between), false; });
    EXPECT_EQ(seen, Texts{"1"});
}

}  // namespace
