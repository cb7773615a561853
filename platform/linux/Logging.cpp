// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Logging of the Linux platform: one line per call on stderr, or handed to the sink a test or
// tool installed. Lines are formatted as
//   fritzbox <LEVEL> [MODULE] SOURCEPATH:LINE MESSAGE
// On stderr each call is exactly one line: the module logs router bytes (whole pages, binary
// photos, terminal escape sequences), so line breaks and other control bytes are written as
// \n, \r, \t and \xNN (a backslash as \\), and a message is cut after kMaxLineBytes with a note
// of how much was left out. A sink gets the record as it came.
#include "Logging.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "EnvironmentSetting.h"
#include "LinuxPlatform.h"

namespace {

constexpr int kAlwaysWrittenLevel = 2;
constexpr std::size_t kMaxLineBytes = 4096;
// One lock for the sink and for writing, so that lines from several threads never interleave
// and a sink is never called after setLogSink replaced it.
std::mutex& logMutex() {
    static std::mutex mutex;
    return mutex;
}

linux_platform::LogSink& logSink() {
    static linux_platform::LogSink sink;
    return sink;
}

int levelFromEnvironment() {
    const char* text = std::getenv("FRITZBOX_LOG_LEVEL");
    if (text == nullptr || *text == '\0') {
        return kAlwaysWrittenLevel;
    }
    char* end = nullptr;
    errno = 0;
    const long level = std::strtol(text, &end, 10);
    if (*end != '\0' || errno != 0 || level < INT_MIN || level > INT_MAX) {
        return kAlwaysWrittenLevel;
    }
    return static_cast<int>(level);
}

linux_platform::detail::EnvironmentSetting g_logLevel{levelFromEnvironment, INT_MIN};

PLATFORM_PRINTF_FORMAT(1, 0) std::string formatMessage(const char* format, va_list arguments) {
    va_list measuring;
    va_copy(measuring, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measuring);
    va_end(measuring);
    if (length <= 0) {
        return std::string();
    }
    std::string message(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(&message[0], message.size(), format, arguments);
    message.resize(static_cast<std::size_t>(length));
    return message;
}

void appendEscaped(std::string& line, char c) {
    static const char kHex[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
        case '\n':
            line += "\\n";
            return;
        case '\r':
            line += "\\r";
            return;
        case '\t':
            line += "\\t";
            return;
        case '\\':
            line += "\\\\";
            return;
        default:
            break;
    }
    if (byte < 0x20 || byte == 0x7f) {
        line += "\\x";
        line += kHex[byte >> 4];
        line += kHex[byte & 0xf];
    } else {
        line += c;
    }
}

// The text with its control bytes escaped, cut so that the escaped text stays within
// kMaxLineBytes.
std::string oneLine(const std::string& text) {
    std::string line;
    std::size_t used = 0;
    for (; used < text.size() && line.size() < kMaxLineBytes; ++used) {
        appendEscaped(line, text[used]);
    }
    if (used < text.size()) {
        line += "... (" + std::to_string(text.size() - used) + " more bytes)";
    }
    return line;
}

void writeToStderr(const linux_platform::LogRecord& record) {
    const std::string line = "fritzbox <" + std::to_string(record.level) + "> [" + oneLine(record.module) + "] " +
                             oneLine(record.sourcePath) + ":" + std::to_string(record.line) + " " +
                             oneLine(record.message) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

namespace linux_platform {

void setLogLevel(int level) {
    g_logLevel.set(level);
}

void resetLogLevel() {
    g_logLevel.reset();
}

int logLevel() {
    return g_logLevel.get();
}

// The sink is called with the logging lock held: it must not log itself.
void setLogSink(LogSink sink) {
    std::lock_guard<std::mutex> lock(logMutex());
    logSink() = std::move(sink);
}

}  // namespace linux_platform

bool loggingOnAppQel(const char* /*module*/, int level) {
    return level <= kAlwaysWrittenLevel || level <= linux_platform::logLevel();
}

void logAppQel(const char* module, const char* sourcePath, int level, int line, const char* format, ...) {
    if (!loggingOnAppQel(module, level)) {
        return;
    }
    linux_platform::LogRecord record;
    record.module = module != nullptr ? module : "";
    record.sourcePath = sourcePath != nullptr ? sourcePath : "";
    record.level = level;
    record.line = line;
    if (format != nullptr) {
        va_list arguments;
        va_start(arguments, format);
        record.message = formatMessage(format, arguments);
        va_end(arguments);
    }
    std::lock_guard<std::mutex> lock(logMutex());
    if (logSink()) {
        logSink()(record);
    } else {
        writeToStderr(record);
    }
}
