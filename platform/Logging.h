// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Host logging as the module sees it.
//
// Every line names the module and the source path that wrote it, a level and the source line.
// Level 2 (errors) is always written; higher levels only when the host switched them on, and
// callers ask loggingOnAppQel() first so that the arguments of a tracing line are formatted only
// when the line will be written. The module writes level 2 without asking, asks for level 6, and
// writes one level-4 line unasked (the host filters it).
//
// Neither function throws or calls back into the module: the module also logs from FritzBox's
// destructor, where an exception ends the process.

#if defined(__GNUC__)
#define PLATFORM_PRINTF_FORMAT(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define PLATFORM_PRINTF_FORMAT(fmt, args)
#endif

// Writes one log line (printf-style; the module uses %s, %d and %p). `sourcePath` identifies the
// writer ("./src/FritzBox"), `line` is the source line of the call. Arguments of any length and
// any bytes are safe: whole router answers (line breaks, invalid UTF-8, "%" inside) are logged as
// %s arguments; a long line may be cut, never written past a buffer.
void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...)
    PLATFORM_PRINTF_FORMAT(5, 6);

// True when lines of `level` for `module` are written at the moment, exactly then. Asked for
// every record and exchange, so it is cheap and has no side effect.
bool loggingOnAppQel(const char* module, int level);
