// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "CallRecordScanner.h"

#include <cstdio>
#include <cstring>

namespace fritzbox_detail {

// The date field holds at most 15 characters, so "dd.mm.yy" and "HH:MM" may be apart by one or
// two blanks; the router never sends longer fields for a real call.
bool callRecordFieldsFit(const std::string& record) {
    const std::size_t capacities[] = {kTypeCapacity, kDateCapacity, kTextCapacity, kTextCapacity};
    const char* cursor = record.c_str();
    for (std::size_t capacity : capacities) {
        const std::size_t length = std::strcspn(cursor, ";");
        if (length >= capacity) {
            return false;
        }
        if (cursor[length] == '\0') {
            return true;
        }
        cursor += length + 1;
    }
    return true;
}

// An empty field ends a "%[^;]" conversion, so the two fall-back scans find out which of name
// and number was empty and let the other stand in for it. The widths equal the capacities.
bool scanCallRecord(const char* text, CallRecordFields& fields) {
    if (std::sscanf(text, "%3[^;];%15[^;];%99[^;];%99[^;];", fields.type, fields.date, fields.name, fields.number) ==
        4) {
        return true;
    }
    std::memset(fields.name, 0, sizeof(fields.name));
    if (std::sscanf(text, "%3[^;];%15[^;];;%99[^;];", fields.type, fields.date, fields.number) == 3) {
        std::memcpy(fields.name, fields.number, sizeof(fields.name));
        return true;
    }
    std::memset(fields.number, 0, sizeof(fields.number));
    if (std::sscanf(text, "%3[^;];%15[^;];%99[^;];;", fields.type, fields.date, fields.name) == 3) {
        std::memcpy(fields.number, fields.name, sizeof(fields.number));
        return true;
    }
    return false;
}

}  // namespace fritzbox_detail
