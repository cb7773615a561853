// A logger that throws when a line does not fit its buffer.
#include <cstdarg>
#include <cstdio>
#include <stdexcept>

#include "Logging.h"
#include "Next.h"

namespace {
void writeLine(const char* module, const char* sourcePath, int level, int line, const char* text) {
    using Log = void (*)(const char*, const char*, int, int, const char*, ...);
    static const Log log = nextDefinition<Log>("_Z9logAppQelPKcS0_iiS0_z");
    log(module, sourcePath, level, line, "%s", text);
}
}  // namespace

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length >= static_cast<int>(sizeof text)) {
        throw std::length_error("log line too long");
    }
    writeLine(module, sourcePath, level, line, text);
}
