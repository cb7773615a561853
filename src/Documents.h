// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The XSI-style documents the module hands the phone, and their entries. Internal to the module;
// no I/O. Texts go in as they are given: the callers escape what needs escaping.
#include <cstdint>
#include <string>

namespace fritzbox_detail {

// One callLogsEntry element; the time keeps at most 19 characters.
std::string callLogsEntry(const std::string& number, const std::string& name, const std::string& time,
                          const std::string& callLogId);
// The CallLogs document: the three lists, always present, in this order.
std::string callLogsDocument(const std::string& placed, const std::string& received, const std::string& missed);

// A directory name with its stored picture attached, as the phone's directory reads it.
std::string nameWithPicture(const std::string& name, const std::string& picturePath);
// Appends one directory entry to `entries`, the entry elements of a Personal document.
void appendDirectoryEntry(std::string& entries, const std::string& name, const std::string& number);
// The Personal document: the directory is always delivered whole, so both counts are `entryCount`.
std::string personalDocument(std::int32_t entryCount, const std::string& entries);

}  // namespace fritzbox_detail
