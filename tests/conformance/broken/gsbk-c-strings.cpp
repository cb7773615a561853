// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A keyword extraction that searches with the C library: the source ends at its first NUL byte.
#include <cstring>

#include "ClientUtils.h"

bool ClientUtils::getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                           const std::string& end) {
    if (begin.empty() || end.empty()) {
        return false;
    }
    const char* beginAt = std::strstr(source.c_str(), begin.c_str());
    const char* endAt = beginAt == nullptr ? nullptr : std::strstr(beginAt + begin.size(), end.c_str());
    if (endAt == nullptr) {
        return false;
    }
    const std::size_t offset = beginAt - source.c_str(), contentAt = offset + begin.size();
    out.assign(source, contentAt, endAt - source.c_str() - contentAt);
    source.erase(offset, endAt - source.c_str() + end.size() - offset);
    return true;
}
