// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The module's internal parts on their own: the call-record field scanner and the single-pass
// export walk.
#include "CallRecordScanner.h"
#include "ClientUtils.h"
#include "ExportWalk.h"
#include "ModuleTest.h"

namespace {

using namespace fritzbox_detail;
using Texts = std::vector<std::string>;

// Each row of scans.txt: a record, whether its fields fit, and the fields the scan gives.
TEST(CallRecordScanner, FitsAndScans) {
    for (const Row& row : rowsOf("scans.txt")) {
        SCOPED_TRACE(row[0]);
        EXPECT_EQ(callRecordFieldsFit(row[0]), row[1] == "fits");
        CallRecordFields fields;
        const bool scanned = row[1] == "fits" && scanCallRecord(row[0].c_str(), fields);
        const Texts scannedFields = {fields.type, fields.date, fields.name, fields.number};
        EXPECT_EQ(scanned ? scannedFields : Texts{}, Texts(row.begin() + 2, row.end()));
    }
}

// The walk hands out what the module's loops did before it: extraction from a copy until nothing
// is left. (That it stops when its visitor says so shows in the phonebook's contact rows; the
// export's own keywords, "<contact" and "</contact>", in the export fuzz target's check.)
Texts walked(const std::string& text, const std::string& begin, const std::string& end) {
    Texts found, repeated;
    forEachExtraction(text, begin, end, [&found](std::string& between) { return found.push_back(between), true; });
    std::string rest = text, between;
    while (ClientUtils::getStringBetweenKeywords(rest, between, begin, end)) {
        repeated.push_back(between);
    }
    EXPECT_EQ(found, repeated) << text;
    return found;
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
            walked(text, begin, end);
            ASSERT_FALSE(HasFailure()) << text;
        }
    }
}

}  // namespace
