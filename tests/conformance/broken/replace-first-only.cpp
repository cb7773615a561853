// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A replacement that stops after the first occurrence.
#include "ClientUtils.h"

void ClientUtils::replaceSubstringInString(std::string& text, const std::string& search,
                                           const std::string& replacement) {
    const std::size_t found = search.empty() ? std::string::npos : text.find(search);
    if (found != std::string::npos) {
        text.replace(found, search.size(), replacement);
    }
}
