// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The record codec's reader and writer, for what fixed examples cannot reach. Arbitrary bytes read
// as a record must end the reading in bounded steps; random fields, and every field read from
// those bytes, must come back unchanged from one record in either mode.
#include <fuzzer/FuzzedDataProvider.h>

#include <vector>

#include "FuzzHarness.h"
#include "Serializer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    const bool escape = provider.ConsumeBool();
    std::vector<std::string> fields(provider.ConsumeIntegralInRange<std::size_t>(0, 8));
    for (std::string& field : fields) {
        field = provider.ConsumeRandomLengthString(64);
    }
    // Every call takes at least one byte off the record; on an empty record it empties the field.
    std::string record = provider.ConsumeRemainingBytesAsString();
    for (std::size_t before = 1; before != 0;) {
        before = record.size();
        std::string& field = fields.emplace_back("stale");
        Serializer::deserialize(record, field, escape);
        FUZZ_CHECK(before == 0 ? field.empty() && record.empty() : record.size() < before);
    }
    for (const std::string& field : fields) {
        Serializer::serialize(record, field, escape);
    }
    // Escaped records may be stored line by line and split at ";".
    FUZZ_CHECK(!escape || record.find_first_of(std::string("\r\n;\0", 4)) == std::string::npos);
    for (const std::string& field : fields) {
        std::string read;
        Serializer::deserialize(record, read, escape);
        FUZZ_CHECK(read == field);
    }
    FUZZ_CHECK(record.empty());
    return 0;
}
