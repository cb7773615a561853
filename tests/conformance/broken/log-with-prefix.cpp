// Equivalent: a logger that puts the firmware's own tag in front of every line.
#include <cstdarg>
#include <cstdio>

#include "Logging.h"
#include "Next.h"

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char text[8192];
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    using Log = void (*)(const char*, const char*, int, int, const char*, ...);
    static const Log log = nextDefinition<Log>("_Z9logAppQelPKcS0_iiS0_z");
    log(module, sourcePath, level, line, "[fw 1.2.3] %s", text);
}
