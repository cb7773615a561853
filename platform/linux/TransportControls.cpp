// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "TransportControls.h"

#include <atomic>
#include <mutex>

namespace linux_platform {
namespace {

std::atomic<std::uint64_t> g_connectionsOpened{0};
std::atomic<std::uint64_t> g_requestsSent{0};
std::atomic<unsigned> g_connectOverrideMs{0};
std::atomic<unsigned> g_ioOverrideMs{0};
std::atomic<unsigned> g_exchangeOverrideMs{0};
std::atomic<unsigned> g_lowSpeedWindowOverrideMs{0};
std::atomic<unsigned> g_lowSpeedBytesPerSecondOverride{0};

std::mutex g_reportMutex;
ExchangeReport g_report;

}  // namespace

ExchangeReport exchangeReport() {
    const std::lock_guard<std::mutex> lock(g_reportMutex);
    return g_report;
}

void resetExchangeReport() {
    const std::lock_guard<std::mutex> lock(g_reportMutex);
    g_report = ExchangeReport();
}

void detail::noteRequest(const std::string& target) {
    const std::lock_guard<std::mutex> lock(g_reportMutex);
    g_report.lastPath = target.substr(0, target.find('?'));
    g_report.lastStatus = 0;
}

void detail::noteAnswer(int status) {
    const std::lock_guard<std::mutex> lock(g_reportMutex);
    g_report.lastStatus = status;
}

void detail::noteFailure(const std::string& reason) {
    const std::lock_guard<std::mutex> lock(g_reportMutex);
    ++g_report.failures;
    g_report.lastFailure = reason;
}

TransportStats transportStats() {
    return TransportStats{g_connectionsOpened.load(), g_requestsSent.load()};
}

void resetTransportStats() {
    g_connectionsOpened = 0;
    g_requestsSent = 0;
}

void setTimeLimitOverrides(const TimeLimitOverrides& overrides) {
    g_connectOverrideMs = overrides.connectMs;
    g_ioOverrideMs = overrides.ioMs;
    g_exchangeOverrideMs = overrides.exchangeMs;
    g_lowSpeedWindowOverrideMs = overrides.lowSpeedWindowMs;
    g_lowSpeedBytesPerSecondOverride = overrides.lowSpeedBytesPerSecond;
}

void detail::countConnectionOpened() {
    ++g_connectionsOpened;
}

void detail::countRequestSent() {
    ++g_requestsSent;
}

TimeLimitOverrides detail::timeLimitOverrides() {
    return TimeLimitOverrides{g_connectOverrideMs.load(), g_ioOverrideMs.load(), g_exchangeOverrideMs.load(),
                              g_lowSpeedWindowOverrideMs.load(), g_lowSpeedBytesPerSecondOverride.load()};
}

}  // namespace linux_platform
