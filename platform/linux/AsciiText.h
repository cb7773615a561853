// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Locale-independent ASCII case handling for protocol text (host names, header names, tokens).
#include <algorithm>
#include <string>

namespace linux_platform {
namespace detail {

inline char toLowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string toLowerAscii(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return toLowerAscii(c); });
    return text;
}

inline bool equalsIgnoreCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return toLowerAscii(x) == toLowerAscii(y); });
}

}  // namespace detail
}  // namespace linux_platform
