// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Equivalent: an itos through the C library's %d, which never groups thousands whatever the locale.
#include <cstdio>

#include "ClientUtils.h"

std::string ClientUtils::itos(int value) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%d", value);
    return digits;
}
