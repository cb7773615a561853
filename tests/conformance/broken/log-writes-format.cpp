// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A logger that writes the format string as it stands, its conversions unfilled.
#include "Real.h"

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    real::logLine(module, sourcePath, level, line, format);
}
