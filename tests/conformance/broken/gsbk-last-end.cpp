// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A keyword extraction that takes the last end keyword instead of the first after the begin: a
// static member replaced.
#include "ClientUtils.h"

bool ClientUtils::getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                           const std::string& end) {
    const std::size_t beginAt = begin.empty() ? std::string::npos : source.find(begin);
    const std::size_t endAt = beginAt == std::string::npos || end.empty() ? std::string::npos : source.rfind(end);
    if (endAt == std::string::npos || endAt < beginAt + begin.size()) {
        return false;
    }
    out = source.substr(beginAt + begin.size(), endAt - beginAt - begin.size());
    source.erase(beginAt, endAt + end.size() - beginAt);
    return true;
}
