// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// An XML escape that takes an & for the start of an entity already written and leaves it bare.
#include "ClientUtils.h"
#include "Next.h"

std::string ClientUtils::escapeXMLString(const std::string& text) {
    using Escape = std::string (*)(const std::string&);
    static const Escape escape = nextDefinition<Escape>(
        "_ZN11ClientUtils15escapeXMLStringERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    std::string escaped = escape(text);
    for (std::size_t at = escaped.find("&amp;"); at != std::string::npos; at = escaped.find("&amp;", at + 1)) {
        escaped.replace(at, 5, "&");
    }
    return escaped;
}
