// A logger that formats into a 256-byte buffer and writes what fits.
#include <cstdarg>
#include <cstdio>

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
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    writeLine(module, sourcePath, level, line, text);
}
