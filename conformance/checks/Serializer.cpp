// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Serializer: the six fields of a call-log record, written and read back without escaping.
#include <cstdint>

#include "Kit.h"
#include "Serializer.h"

namespace conformance {

namespace {

using Fields = std::vector<std::string>;

std::string serialized(const Fields& fields) {
    std::string record;
    for (const std::string& field : fields) {
        const std::string before = record;
        Serializer::serialize(record, field, false);
        if (record.compare(0, before.size(), before) != 0) {
            fail("serialize to leave the record's earlier fields alone", quoted(before) + " became " + quoted(record));
        }
    }
    return record;
}

Fields deserialized(std::string record, std::size_t count) {
    Fields fields(count);
    for (std::string& field : fields) {
        Serializer::deserialize(record, field, false);
    }
    return fields;
}

void checkRoundTrips(const std::vector<Fields>& rows) {
    for (const Fields& fields : rows) {
        const Fields back = deserialized(serialized(fields), fields.size());
        for (std::size_t i = 0; i < fields.size(); ++i) {
            expectEqual("field " + std::to_string(i + 1) + " read back", fields[i], back[i]);
        }
    }
}

void roundTrip(Context&) {
    checkRoundTrips({
        {"Missed", "2024-03-15T14:30:00+00:00", "030123456", "Anna Beispiel", "17", "true"},
        {"Placed", "12:ab", ";;", "Doe\\n;", "3:x", ""},
        {"Received", std::string("a\0b", 3), "\r\n", "\xff\xfe", ":", std::string(10000, ';')},
        {"missed", "0", "-1", "name with \"quotes\"", "\\", "false"},
    });
}

void emptyFields(Context&) {
    checkRoundTrips({
        {"", "", "", "", "", ""},
        {"", "", "x", "", "", "y"},
    });
}

// Damaged stored records: the reader must stop at their end, whatever they hold.
void malformedRecords(Context&) {
    const char alphabet[] = {'0', '1', '9', ':', ';', '\\', 'n', '\0', '\xff', '-', ' '};
    std::uint32_t seed = 12345;
    for (int round = 0; round < 3000; ++round) {
        std::string record;
        seed = seed * 1664525u + 1013904223u;
        for (std::uint32_t length = seed >> 26; length > 0; --length) {
            seed = seed * 1664525u + 1013904223u;
            record += alphabet[(seed >> 24) % sizeof alphabet];
        }
        deserialized(record, 8);
    }
}

void exhaustedEmpty(Context&) {
    std::string record = serialized({"Missed", "a", "b", "c", "d", "e"});
    std::string field;
    for (int i = 0; i < 6; ++i) {
        Serializer::deserialize(record, field, false);
    }
    field = "old";
    Serializer::deserialize(record, field, false);
    expectEqual("a seventh field read from a record of six", "", field);
    std::string empty;
    field = "old";
    Serializer::deserialize(empty, field, false);
    expectEqual("the field read from an empty record", "", field);
}

// The module writes with escape false; the header promises more for escape true: no line break and
// no ";" in the record, and every field back as it was.
void escapedFields(Context&) {
    const std::vector<std::string> fields = {"line\nbreak", "carriage\rreturn", "semi;colon", "back\\slash",
                                             std::string("nul\0byte", 8)};
    std::string record;
    for (const std::string& field : fields) {
        Serializer::serialize(record, field, true);
    }
    expectTrue(record.find_first_of("\n\r;") == std::string::npos, "no line break and no ; in an escaped record",
               quoted(record));
    for (const std::string& field : fields) {
        std::string read;
        Serializer::deserialize(record, read, true);
        expectEqual("an escaped field read back", field, read);
    }
}

}  // namespace

std::vector<Check> serializerChecks() {
    return {
        {"serializer.round-trip", roundTrip, 10},
        {"serializer.empty-fields", emptyFields, 10},
        {"serializer.malformed-no-crash", malformedRecords, 20},
        {"serializer.exhausted-empty", exhaustedEmpty, 10},
        {"serializer.escaped-fields", escapedFields, 10},
    };
}

}  // namespace conformance
