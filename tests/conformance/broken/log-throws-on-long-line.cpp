// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A logger that throws when a line does not fit its buffer.
#include <stdexcept>

#include "Real.h"

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = real::formatInto(text, format, arguments);
    va_end(arguments);
    if (length >= static_cast<int>(sizeof text)) {
        throw std::length_error("log line too long");
    }
    real::logLine(module, sourcePath, level, line, text);
}
