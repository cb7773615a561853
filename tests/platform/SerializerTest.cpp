#include <gtest/gtest.h>

#include "Serializer.h"

namespace {

// Hostile fields come back unchanged in both modes, and an escaped record holds nothing that
// would end a record or a line in the phone's storage.
TEST(Serializer, RoundTripsHostileFields) {
    const std::vector<std::string> fields = {
        "",         "plain", "a;b;;",      "two\nlines\r\n", std::string("nul\0x", 5),
        "12:34:56", "3:abc", "\\s\\n\\\\", "trailing\\"};
    for (const bool escape : {false, true}) {
        std::string record;
        for (const auto& field : fields) {
            Serializer::serialize(record, field, escape);
        }
        EXPECT_TRUE(!escape || record.find_first_of(std::string(";\n\r\0", 4)) == std::string::npos) << record;
        for (const auto& expected : fields) {
            std::string field;
            Serializer::deserialize(record, field, escape);
            EXPECT_EQ(field, expected);
        }
        EXPECT_TRUE(record.empty());
    }
}

// Two reads of each record: a malformed field comes out empty and empties the record, so nothing
// behind it is misread, and reading an empty record yields an empty field.
TEST(Serializer, MalformedRecordsYieldEmptyFieldsWithoutReadingPastTheEnd) {
    const struct {
        std::string record;
        bool escape;
        std::string first;
    } rows[] = {{"5:abc", false, ""},   {"x:abc", false, ""}, {"3abc", false, ""},
                {":abc", false, ""},    {"-1:a", false, ""},  {"99999999999999999999999999:a", false, ""},
                {"2:\\q1:a", true, ""}, {"1:\\", true, ""},   {"3:abc5:de", false, "abc"}};
    for (const auto& row : rows) {
        std::string record = row.record;
        std::string first = "stale";
        std::string second = "stale";
        Serializer::deserialize(record, first, row.escape);
        Serializer::deserialize(record, second, row.escape);
        EXPECT_EQ(first + "|" + second + "|" + record, row.first + "||") << row.record;
    }
}

}  // namespace
