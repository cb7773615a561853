#pragma once
// Collects the platform's log lines for the lifetime of the guard, instead of writing them to
// stderr, and restores stderr output and the previous log level afterwards.
#include <mutex>
#include <string>
#include <vector>

#include "LinuxPlatform.h"

namespace testsupport {

class LogCapture {
public:
    // Captures lines up to `level` (levels 2 and below are always captured).
    explicit LogCapture(int level = 7);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;  // the sink holds `this`
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<linux_platform::LogRecord> records() const;
    // True when some captured message contains `text`, with exactly `level` unless that is -1.
    bool contains(const std::string& text, int level = -1) const;
    void clear();
    // All captured messages, one per line: readable output for a failed assertion.
    std::string text() const;

private:
    mutable std::mutex m_mutex;  // the sink may be called from any thread
    std::vector<linux_platform::LogRecord> m_records;
    int m_previousLevel;
};

}  // namespace testsupport
