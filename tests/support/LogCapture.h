// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

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
    explicit LogCapture(int level = 7) : m_previousLevel(linux_platform::logLevel()) {
        linux_platform::setLogLevel(level);
        linux_platform::setLogSink([this](const linux_platform::LogRecord& record) {
            std::lock_guard<std::mutex> lock(m_mutex);  // the sink may be called from any thread
            m_records.push_back(record);
        });
    }
    ~LogCapture() {
        linux_platform::setLogSink({});
        linux_platform::setLogLevel(m_previousLevel);
    }
    LogCapture(const LogCapture&) = delete;  // the sink holds `this`
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<linux_platform::LogRecord> records() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }
    // True when some captured message contains `text`, with exactly `level` unless that is -1.
    bool contains(const std::string& text, int level = -1) const {
        for (const auto& record : records()) {
            if ((level == -1 || record.level == level) && record.message.find(text) != std::string::npos) {
                return true;
            }
        }
        return false;
    }
    void clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.clear();
    }
    // All captured messages, one per line: readable output for a failed assertion.
    std::string text() const {
        std::string lines;
        for (const auto& record : records()) {
            lines += record.message + "\n";
        }
        return lines;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<linux_platform::LogRecord> m_records;
    int m_previousLevel;
};

}  // namespace testsupport
