// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A whole call-list body through the call-list unit: the line cut with its record limit, and every
// record it hands on read and made into an entry. Nothing a router sends may break the identifier
// (five date parts of at most three characters, all from the record) or the entry's shape.
#include <algorithm>

#include "CallList.h"
#include "Documents.h"
#include "FuzzHarness.h"

using namespace fritzbox_detail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string body(reinterpret_cast<const char*>(data), size);
    const CallListLines lines = splitCallList(body);
    FUZZ_CHECK(lines.records.size() == std::min(lines.count, kMaxCallListRecords));
    for (const std::string& line : lines.records) {
        const CallRecordReading reading = readCallRecord(line);
        if (reading.fault != CallRecordFault::None) {
            FUZZ_CHECK(line.find(reading.rejected) != std::string::npos);
            continue;
        }
        const std::string id = callLogIdBase(reading.record.year, reading.record.month, reading.record.day,
                                             reading.record.hour, reading.record.minute);
        FUZZ_CHECK(id.size() <= 15 && id.find_first_not_of(line) == std::string::npos);
        const std::string entry =
            callLogsEntry(reading.record.number, reading.record.name, callTime(reading.record), id + "0");
        FUZZ_CHECK(entry.rfind("<callLogsEntry><phoneNumber>", 0) == 0);
    }
    return 0;
}
