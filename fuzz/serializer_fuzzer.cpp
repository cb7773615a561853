// The record codec's reader. Fields written by Serializer::serialize must come back unchanged
// from deserialize, in both modes, and so must the six fields of a call-log record written by
// BroadsoftServiceHelper. Arbitrary bytes read as a record must end the reading in bounded steps,
// and every field read from them must survive a second round trip.
#include <fuzzer/FuzzedDataProvider.h>

#include "BroadsoftServiceHelper.h"
#include "FuzzHarness.h"
#include "Serializer.h"

namespace {

const std::size_t kMaxFields = 8;
const char* const kKinds[] = {"Missed", "Placed", "Received"};

void checkRoundTrip(const std::vector<std::string>& fields, bool escape) {
    std::string record;
    for (const std::string& field : fields) {
        Serializer::serialize(record, field, escape);
    }
    if (escape) {
        FUZZ_CHECK(record.find_first_of(std::string("\r\n;\0", 4)) == std::string::npos);
    }
    for (const std::string& field : fields) {
        std::string read;
        Serializer::deserialize(record, read, escape);
        FUZZ_CHECK(read == field);
    }
    FUZZ_CHECK(record.empty());
}

void checkCallLogRecord(FuzzedDataProvider& provider) {
    std::string fields[6];
    fields[0] = kKinds[provider.ConsumeIntegralInRange<int>(0, 2)];
    for (std::size_t i = 1; i < 6; ++i) {
        fields[i] = provider.ConsumeRandomLengthString(32);
    }
    std::string written[6] = {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]};
    std::string record = BroadsoftServiceHelper::serializeCallLogRecord(written[0], written[1], written[2], written[3],
                                                                        written[4], written[5]);
    std::string read[6];
    BroadsoftServiceHelper::deserializeRecord(record, read[0], read[1], read[2], read[3], read[4], read[5]);
    for (std::size_t i = 0; i < 6; ++i) {
        FUZZ_CHECK(read[i] == fields[i]);
    }
}

// Every call takes at least one byte off the record or empties it.
void checkArbitraryRecord(std::string record, bool escape) {
    while (!record.empty()) {
        const std::size_t before = record.size();
        std::string field;
        Serializer::deserialize(record, field, escape);
        FUZZ_CHECK(record.size() < before);
        checkRoundTrip({field}, escape);
    }
    std::string field = "stale";
    Serializer::deserialize(record, field, escape);
    FUZZ_CHECK(field.empty() && record.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    const bool escape = provider.ConsumeBool();
    std::vector<std::string> fields(provider.ConsumeIntegralInRange<std::size_t>(0, kMaxFields));
    for (std::string& field : fields) {
        field = provider.ConsumeRandomLengthString(64);
    }
    checkRoundTrip(fields, escape);
    checkCallLogRecord(provider);
    checkArbitraryRecord(provider.ConsumeRemainingBytesAsString(), escape);
    return 0;
}
