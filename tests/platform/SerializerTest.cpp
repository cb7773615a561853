#include <gtest/gtest.h>

#include "Serializer.h"

namespace {

class SerializerRoundTrip : public ::testing::TestWithParam<bool> {};

TEST_P(SerializerRoundTrip, HostileFieldsComeBackUnchanged) {
    const bool escape = GetParam();
    const std::vector<std::string> fields = {
        "",         "plain", "a;b;;",      "two\nlines\r\n", std::string("nul\0x", 5),
        "12:34:56", "3:abc", "\\s\\n\\\\", "trailing\\"};
    std::string record;
    for (const auto& field : fields) {
        Serializer::serialize(record, field, escape);
    }
    if (escape) {
        EXPECT_EQ(record.find_first_of(std::string(";\n\r\0", 4)), std::string::npos) << record;
    }
    for (const auto& expected : fields) {
        std::string field;
        Serializer::deserialize(record, field, escape);
        EXPECT_EQ(field, expected);
    }
    EXPECT_TRUE(record.empty());
    std::string field = "stale";
    Serializer::deserialize(record, field, escape);
    EXPECT_EQ(field, "");
}

INSTANTIATE_TEST_SUITE_P(EscapeModes, SerializerRoundTrip, ::testing::Bool());

// A malformed field comes out empty and empties the record, so nothing behind it is misread.
TEST(SerializerMalformed, YieldsEmptyFieldsWithoutReadingPastTheEnd) {
    const struct {
        std::string record;
        bool escape;
    } cases[] = {{"5:abc", false},   {"x:abc", false}, {"3abc", false},
                 {":abc", false},    {"-1:a", false},  {"99999999999999999999999999:a", false},
                 {"2:\\q1:a", true}, {"1:\\", true}};
    for (const auto& c : cases) {
        std::string record = c.record;
        for (int i = 0; i < 2; ++i) {
            std::string field = "stale";
            Serializer::deserialize(record, field, c.escape);
            EXPECT_EQ(field, "") << c.record;
        }
        EXPECT_TRUE(record.empty()) << c.record;
    }

    std::string record = "3:abc5:de";
    std::string field;
    Serializer::deserialize(record, field, false);
    EXPECT_EQ(field, "abc");
    Serializer::deserialize(record, field, false);
    EXPECT_EQ(field, "");
}

}  // namespace
