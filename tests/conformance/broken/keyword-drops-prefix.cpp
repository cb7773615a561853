// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A keyword extraction that removes everything up to the end of the match, not the match alone:
// a static member replaced.
#include "ClientUtils.h"

bool ClientUtils::getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                           const std::string& end) {
    const std::size_t beginAt = begin.empty() ? std::string::npos : source.find(begin);
    const std::size_t endAt =
        beginAt == std::string::npos || end.empty() ? std::string::npos : source.find(end, beginAt + begin.size());
    if (endAt == std::string::npos) {
        return false;
    }
    out = source.substr(beginAt + begin.size(), endAt - beginAt - begin.size());
    source.erase(0, endAt + end.size());
    return true;
}
