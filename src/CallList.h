// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router's call list as values: the request target, the lines of its CSV body, and one record
// normalised for the call log. Internal to the module; no I/O.
#include <cstddef>
#include <string>
#include <vector>

namespace fritzbox_detail {

// At most this many records of one list are converted.
constexpr std::size_t kMaxCallListRecords = 50;

std::string callListTarget(const std::string& sid);

// The records of a call-list body: its lines after the first two (separator hint and column
// header), cut at "\n" only (a "\r" stays in the line), an empty line included. `records` holds
// the first kMaxCallListRecords of them, `count` says how many there are.
struct CallListLines {
    std::vector<std::string> records;
    std::size_t count = 0;
};
CallListLines splitCallList(const std::string& body);

// One record made ready for the call log: the date split into its parts, an unknown caller named
// Caller.Unknown.XXX, a name that only labels the number replaced by it, the name XML-escaped
// (the number is not).
struct CallRecord {
    std::string type, day, month, year, hour, minute, name, number;
};

// Why a record is rejected: its fields (too long, or type, date or both of name and number
// empty) or its date (not "d.m.y h:m", or a part over three characters).
enum class CallRecordFault { None, Fields, Date };

struct CallRecordReading {
    CallRecordFault fault = CallRecordFault::None;
    std::string rejected;  // the whole record (Fields) or its date field (Date)
    CallRecord record;
};
CallRecordReading readCallRecord(const std::string& record);

// "20yy-mm-ddTHH:MM:00": the router's local time as it is, the century fixed.
std::string callTime(const CallRecord& record);
// The call's minute as the base of its call-log identifier: year, month, day, hour, minute.
std::string callLogIdBase(const std::string& year, const std::string& month, const std::string& day,
                          const std::string& hour, const std::string& minute);

}  // namespace fritzbox_detail
