// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A keyword extraction that matches the keywords in any letter case.
#include <algorithm>
#include <cctype>

#include "ClientUtils.h"

namespace {
std::size_t findIgnoringCase(const std::string& text, const std::string& word, std::size_t from) {
    const auto same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    };
    const auto found = std::search(text.begin() + from, text.end(), word.begin(), word.end(), same);
    return found == text.end() ? std::string::npos : static_cast<std::size_t>(found - text.begin());
}
}  // namespace

bool ClientUtils::getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                           const std::string& end) {
    const std::size_t beginAt = begin.empty() ? std::string::npos : findIgnoringCase(source, begin, 0);
    const std::size_t endAt = beginAt == std::string::npos || end.empty()
                                  ? std::string::npos
                                  : findIgnoringCase(source, end, beginAt + begin.size());
    if (endAt == std::string::npos) {
        return false;
    }
    out = source.substr(beginAt + begin.size(), endAt - beginAt - begin.size());
    source.erase(beginAt, endAt + end.size() - beginAt);
    return true;
}
