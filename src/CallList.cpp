// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "CallList.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "CallRecordScanner.h"
#include "ClientUtils.h"

namespace fritzbox_detail {

namespace {

const std::size_t kSkippedCallListLines = 2;
const std::string kCallerUnknown = "Caller.Unknown.XXX";
// A date part's scratch field, terminator included.
const std::size_t kDatePartCapacity = 4;

bool beginsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

// "number (remark)" as a name is the router's label for a known number.
bool nameLabelsNumber(const CallRecordFields& fields) {
    char leadingRun[kTextCapacity] = {};
    char remark[kTextCapacity] = {};
    return std::sscanf(fields.name, "%99[0-9*#+] (%99[^)])", leadingRun, remark) == 2 &&
           std::strcmp(leadingRun, fields.number) == 0;
}

void normaliseParty(const CallRecordFields& fields, CallRecord& record) {
    record.number = fields.number;
    record.name = fields.name;
    if (beginsWith(record.number, "Unbekannt")) {
        record.number = kCallerUnknown;
        record.name = kCallerUnknown;
    }
    if (nameLabelsNumber(fields)) {
        record.name = record.number;
    }
    record.name = ClientUtils::escapeXMLString(record.name);
}

// Each date part gets at most three characters; the date field itself has at most 15, so the
// 16-byte parts of the split can hold anything it yields before the length check.
bool splitDate(const char* date, CallRecord& record) {
    char parts[5][kDateCapacity] = {};
    const int partCount =
        std::sscanf(date, "%15[^.].%15[^.].%15[^ ] %15[^:]:%15s", parts[0], parts[1], parts[2], parts[3], parts[4]);
    const bool partsFit = std::all_of(std::begin(parts), std::end(parts),
                                      [](const char* part) { return std::strlen(part) < kDatePartCapacity; });
    if (partCount < 5 || !partsFit) {
        return false;
    }
    record.day = parts[0], record.month = parts[1], record.year = parts[2];
    record.hour = parts[3], record.minute = parts[4];
    return true;
}

}  // namespace

std::string callListTarget(const std::string& sid) {
    return "/fon_num/foncalls_list.lua?csv=&sid=" + sid;
}

// Only the records that will be converted are copied, the rest are counted.
CallListLines splitCallList(const std::string& body) {
    CallListLines lines;
    std::size_t lineCount = 0;
    for (std::size_t lineStart = 0; lineStart < body.length(); ++lineCount) {
        const std::size_t lineEnd = std::min(body.find('\n', lineStart), body.length());
        if (lineCount >= kSkippedCallListLines && lines.records.size() < kMaxCallListRecords) {
            lines.records.emplace_back(body, lineStart, lineEnd - lineStart);
        }
        lineStart = lineEnd + 1;
    }
    lines.count = lineCount > kSkippedCallListLines ? lineCount - kSkippedCallListLines : 0;
    return lines;
}

CallRecordReading readCallRecord(const std::string& record) {
    CallRecordReading reading;
    CallRecordFields fields;
    if (!callRecordFieldsFit(record) || !scanCallRecord(record.c_str(), fields)) {
        reading.fault = CallRecordFault::Fields;
        reading.rejected = record;
        return reading;
    }
    reading.record.type = fields.type;
    normaliseParty(fields, reading.record);
    if (!splitDate(fields.date, reading.record)) {
        reading.fault = CallRecordFault::Date;
        reading.rejected = fields.date;
    }
    return reading;
}

std::string callTime(const CallRecord& record) {
    return "20" + record.year + "-" + record.month + "-" + record.day + "T" + record.hour + ":" + record.minute + ":00";
}

std::string callLogIdBase(const std::string& year, const std::string& month, const std::string& day,
                          const std::string& hour, const std::string& minute) {
    return year + month + day + hour + minute;
}

}  // namespace fritzbox_detail
