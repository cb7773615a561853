// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// An itos that formats through a stream imbued with the global locale: thousands get separators
// wherever the phone's locale groups them.
#include <locale>
#include <sstream>

#include "ClientUtils.h"

std::string ClientUtils::itos(int value) {
    std::ostringstream text;
    text.imbue(std::locale());
    text << value;
    return text.str();
}
