// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// An md5 that writes its hex digits in upper case.
#include <cctype>

#include "Real.h"

std::string Cryptographer::md5(const std::string& data) const {
    std::string digest = real::md5(this, data);
    for (char& c : digest) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return digest;
}
