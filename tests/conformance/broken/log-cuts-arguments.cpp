// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A logger that formats into a 256-byte buffer and writes what fits.
#include "Real.h"

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    real::formatInto(text, format, arguments);
    va_end(arguments);
    real::logLine(module, sourcePath, level, line, text);
}
