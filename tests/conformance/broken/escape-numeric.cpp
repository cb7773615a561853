// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// An XML escape that writes numeric character references: valid XML, but not the five entities
// the installed header promises.
#include <string>

#include "ClientUtils.h"

std::string ClientUtils::escapeXMLString(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&' || c == '<' || c == '>' || c == '"' || c == '\'') {
            escaped += "&#" + std::to_string(static_cast<int>(c)) + ";";
        } else {
            escaped += c;
        }
    }
    return escaped;
}
