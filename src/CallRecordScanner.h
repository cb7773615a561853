// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The field scanner of one call-list record: "type;date;name;number;..." into fixed scratch
// fields. Internal to the module; the library exports none of it.
#include <cstddef>
#include <string>

namespace fritzbox_detail {

// Scratch field capacities of one call-list record, terminator included.
constexpr std::size_t kTypeCapacity = 4;
constexpr std::size_t kDateCapacity = 16;
constexpr std::size_t kTextCapacity = 100;

// The scratch fields of one call-list record.
struct CallRecordFields {
    char type[kTypeCapacity] = {};
    char date[kDateCapacity] = {};
    char name[kTextCapacity] = {};
    char number[kTextCapacity] = {};
};

// True when the first four ";"-separated fields of `record` (as C text, up to its first NUL)
// fit their capacities: at most 3, 15, 99 and 99 characters. An overlong field rejects the
// whole record: cutting it would file a wrong number or name. A record that ends before its
// fourth field fits as far as it goes.
bool callRecordFieldsFit(const std::string& record);

// Scans type, date, name and number of `text` into `fields`, true on success. Type and date
// must not be empty. An empty name takes the number, an empty number takes the name; both empty
// fails. Fields that do not fit are cut, so callRecordFieldsFit() decides first.
bool scanCallRecord(const char* text, CallRecordFields& fields);

}  // namespace fritzbox_detail
