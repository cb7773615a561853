// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The adapter of the project's Linux platform: host-name mapping, a log sink, the phone model and
// the log level through its controls (LinuxPlatform.h).
#include <mutex>

#include "Adapter.h"
#include "LinuxPlatform.h"

namespace conformance {

namespace {

class LinuxAdapter : public Adapter {
public:
    const char* name() const override { return "linux"; }

    bool mapHost(const std::string& name, const std::string& address, int port) override {
        linux_platform::mapHost(name, "80", address, std::to_string(port));
        return true;
    }

    bool captureLog() override {
        linux_platform::setLogSink([this](const linux_platform::LogRecord& record) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_lines += "<" + std::to_string(record.level) + "> [" + record.module + "] " + record.message + "\n";
        });
        return true;
    }

    std::string capturedLog() override {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }

    bool setPhoneModel(const std::string& model) override {
        linux_platform::PhoneModel parsed;
        if (!linux_platform::parsePhoneModel(model, parsed)) {
            return false;
        }
        linux_platform::setPhoneModel(parsed);
        return true;
    }

    bool setLogLevel(int level) override {
        linux_platform::setLogLevel(level);
        return true;
    }

private:
    std::mutex m_mutex;
    std::string m_lines;
};

}  // namespace

Adapter& platformAdapter() {
    static LinuxAdapter adapter;
    return adapter;
}

}  // namespace conformance
