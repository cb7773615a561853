// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A phone that claims every model at once.
#include "HardwareVersion.h"

bool HardwareVersion::is_Tern() {
    return true;
}
bool HardwareVersion::is_Gull_any() {
    return true;
}
bool HardwareVersion::is_Wren_any() {
    return true;
}
