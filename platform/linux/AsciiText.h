// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Locale-independent ASCII case handling for protocol text (host names, header names, tokens).
#include <algorithm>
#include <string>
#include <string_view>

namespace linux_platform {
namespace detail {

inline char toLowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string toLowerAscii(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return toLowerAscii(c); });
    return text;
}

// Views, so that comparing with a literal builds no string.
inline bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return toLowerAscii(x) == toLowerAscii(y); });
}

}  // namespace detail
}  // namespace linux_platform
