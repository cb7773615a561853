// A logger that writes the format string as it stands, its conversions unfilled.
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
    writeLine(module, sourcePath, level, line, format);
}
