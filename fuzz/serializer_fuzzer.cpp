// The record codec's reader. Fields written by Serializer::serialize must come back unchanged
// from deserialize, in both modes, and so must the six fields of a call-log record written by
// BroadsoftServiceHelper. Arbitrary bytes read as a record must end the reading in bounded steps,
// and every field read from them must survive a second round trip.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

#include "BroadsoftServiceHelper.h"
#include "FuzzHarness.h"
#include "Serializer.h"

namespace {

void checkRoundTrip(const std::vector<std::string>& fields, bool escape) {
    std::string record;
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
}

void checkCallLogRecord(FuzzedDataProvider& provider) {
    std::string fields[6] = {provider.PickValueInArray({"Missed", "Placed", "Received"})};
    std::generate(fields + 1, fields + 6, [&provider] { return provider.ConsumeRandomLengthString(32); });
    std::string written[6];  // the writer takes its fields by reference
    std::copy(fields, fields + 6, written);
    std::string record = BroadsoftServiceHelper::serializeCallLogRecord(written[0], written[1], written[2], written[3],
                                                                        written[4], written[5]);
    std::string read[6];
    BroadsoftServiceHelper::deserializeRecord(record, read[0], read[1], read[2], read[3], read[4], read[5]);
    FUZZ_CHECK(std::equal(fields, fields + 6, read));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    const bool escape = provider.ConsumeBool();
    std::vector<std::string> fields(provider.ConsumeIntegralInRange<std::size_t>(0, 8));
    for (std::string& field : fields) {
        field = provider.ConsumeRandomLengthString(64);
    }
    checkRoundTrip(fields, escape);
    checkCallLogRecord(provider);
    // Every call takes at least one byte off the record; on an empty record it empties the field.
    std::string record = provider.ConsumeRemainingBytesAsString();
    for (std::size_t before = 1; before != 0;) {
        before = record.size();
        std::string field = "stale";
        Serializer::deserialize(record, field, escape);
        FUZZ_CHECK(before == 0 ? field.empty() && record.empty() : record.size() < before);
        checkRoundTrip({field}, escape);
    }
    return 0;
}
