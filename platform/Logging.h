#pragma once
// Host logging as the module sees it.
//
// Every line names the module and the source path that wrote it, a level and the source line.
// Level 2 (errors) is always written; higher levels only when the host switched them on, and
// callers ask loggingOnAppQel() first so that the arguments of a tracing line are formatted only
// when the line will be written.

#if defined(__GNUC__)
#define PLATFORM_PRINTF_FORMAT(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define PLATFORM_PRINTF_FORMAT(fmt, args)
#endif

// Writes one log line (printf-style). `sourcePath` identifies the writer ("./src/FritzBox"),
// `line` is the source line of the call.
void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...)
    PLATFORM_PRINTF_FORMAT(5, 6);

// True when lines of `level` for `module` are written at the moment.
bool loggingOnAppQel(const char* module, int level);
