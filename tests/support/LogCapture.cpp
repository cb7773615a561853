#include "LogCapture.h"

namespace testsupport {

LogCapture::LogCapture(int level) : m_previousLevel(linux_platform::logLevel()) {
    linux_platform::setLogLevel(level);
    linux_platform::setLogSink([this](const linux_platform::LogRecord& record) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(record);
    });
}

LogCapture::~LogCapture() {
    linux_platform::setLogSink({});
    linux_platform::setLogLevel(m_previousLevel);
}

std::vector<linux_platform::LogRecord> LogCapture::records() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_records;
}

bool LogCapture::contains(const std::string& text, int level) const {
    for (const auto& record : records()) {
        if ((level == -1 || record.level == level) && record.message.find(text) != std::string::npos) {
            return true;
        }
    }
    return false;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.clear();
}

std::string LogCapture::text() const {
    std::string lines;
    for (const auto& record : records()) {
        lines += record.message + "\n";
    }
    return lines;
}

}  // namespace testsupport
