// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A phone that claims no model at all: the picture-capable model is never told.
#include "HardwareVersion.h"

bool HardwareVersion::is_Tern() {
    return false;
}
bool HardwareVersion::is_Gull_any() {
    return false;
}
bool HardwareVersion::is_Wren_any() {
    return false;
}
