// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Equivalent: a logger that puts the firmware's own tag in front of every line.
#include <string>

#include "Real.h"

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    char text[8192];
    va_list arguments;
    va_start(arguments, format);
    real::formatInto(text, format, arguments);
    va_end(arguments);
    real::logLine(module, sourcePath, level, line, ("[fw 1.2.3] " + std::string(text)).c_str());
}
