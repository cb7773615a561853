// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// An md5 that hashes at most the first 64 KiB of its input, as a fixed buffer would.
#include "Real.h"

std::string Cryptographer::md5(const std::string& data) const {
    return real::md5(this, data.substr(0, 64 * 1024));
}
