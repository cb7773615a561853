// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A logger that writes every level but the errors: a free function replaced.
#include "Real.h"

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    if (level <= 2) {
        return;
    }
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    real::formatInto(text, format, arguments);
    va_end(arguments);
    real::logLine(module, sourcePath, level, line, text);
}
