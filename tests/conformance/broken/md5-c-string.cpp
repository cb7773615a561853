// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// An md5 of the string up to its first NUL byte (the login hashes two bytes a character).
#include "Real.h"

std::string Cryptographer::md5(const std::string& data) const {
    return real::md5(this, data.c_str());
}
