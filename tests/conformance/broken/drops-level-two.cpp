// A logger that writes every level but the errors: a free function replaced.
#include <cstdarg>
#include <cstdio>
#include <string>

#include "Logging.h"
#include "Next.h"

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    if (level <= 2) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    char text[4096];
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    using Log = void (*)(const char*, const char*, int, int, const char*, ...);
    static const Log log = nextDefinition<Log>("_Z9logAppQelPKcS0_iiS0_z");
    log(module, sourcePath, level, line, "%s", text);
}
