// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Controls of the Linux implementation of the host platform. The module never sees these; the
// programs and tests that stand in for the phone use them to point the router's name at a
// local address, choose the phone model, set the log level and capture log lines.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace linux_platform {

// ---- host-name mapping (like curl's --connect-to) ----

// From now on a connection to `name`:`port` goes to `address`:`toPort`. Names compare without
// regard to case. A later mapping of the same name and port replaces the earlier one.
void mapHost(const std::string& name, const std::string& port, const std::string& address, const std::string& toPort);
// Parses "NAME:PORT:ADDRESS:PORT" and maps it; on a malformed text returns false with `error` set.
// An IPv6 address is written in brackets: "fritz.box:80:[::1]:8080".
bool mapHostFromText(const std::string& text, std::string& error);
void clearHostMappings();
// Reads "ADDRESS:PORT", or "ADDRESS" alone when `defaultPort` is given, the way a mapping's
// destination is written: an IPv6 address in brackets (returned without them), a port 1-65535.
// False for anything else; the programs' address options all use it.
bool parseAddressAndPort(const std::string& text, const std::string& defaultPort, std::string& address,
                         std::string& port);
// The address and port that a connection to `name`:`port` uses (the input itself when unmapped).
void resolveMappedHost(const std::string& name, const std::string& port, std::string& address, std::string& toPort);

// ---- size and time limits of an HTTP exchange ----

// Largest response body the HTTP client accepts; a longer one fails the read.
constexpr std::size_t kMaxResponseBodyBytes = 16u * 1024u * 1024u;

// One HTTP exchange (a connect it needs, the request, the whole answer) ends at the latest this
// many I/O time-outs after it began, plus one connect time-out: 125 s with the module's 5 s and 5 s,
// in which a 16 MiB export still arrives at 135 kB/s.
constexpr unsigned kExchangeLimitInIoTimeouts = 24;

// The low-speed limit: an exchange fails when fewer than kLowSpeedBytesPerSecond times the window
// bytes (sent and received together) move within kLowSpeedWindowSeconds. The first window begins
// with the exchange, each further one when the one before reached its bytes. A router trickling a
// byte a second thus fails an exchange after 8 s: a login that meets one costs two exchanges (the
// module goes on to the login request when the challenge fails), each after a connect of at most
// 5 s, so at most 2 x (5 s + 8 s) = 26 s. Anything that moves 8 kB in 8 s is never stopped by it.
constexpr unsigned kLowSpeedBytesPerSecond = 1000;
constexpr unsigned kLowSpeedWindowSeconds = 8;

// Replacements for the limits a SecureConnection is given; a zero field keeps the caller's value
// (connect, io), the derived limit (exchange) or the constant above (low-speed window and rate).
// Name resolution counts against the connect time-out. Programs and tests use this to shorten
// waits; the module always passes 5 s and 5 s.
struct TimeLimitOverrides {
    unsigned connectMs = 0;
    unsigned ioMs = 0;
    unsigned exchangeMs = 0;
    unsigned lowSpeedWindowMs = 0;
    unsigned lowSpeedBytesPerSecond = 0;
};
void setTimeLimitOverrides(const TimeLimitOverrides& overrides);

// ---- what the exchanges came to: counters and the last failure ----

struct TransportStats {
    std::uint64_t connectionsOpened = 0;  // TCP connections established by SecureConnection
    std::uint64_t requestsSent = 0;       // HTTP requests written
};
TransportStats transportStats();
void resetTransportStats();

// What the exchanges since the last reset came to, so that a program can tell its user why a sync
// failed without reading log text.
struct ExchangeReport {
    std::uint64_t failures = 0;  // exchanges (connects included) that failed
    std::string lastPath;        // path of the last request, without its query (which can carry login data)
    int lastStatus = 0;          // status of the last answer whose head was read; 0 when none
    std::string lastFailure;     // why the last failed exchange failed; "" when none failed
};
ExchangeReport exchangeReport();
void resetExchangeReport();

// ---- phone model ----

enum class PhoneModel { Other, Tern, Gull, Wren };
// The model answered by HardwareVersion. Until set, it comes from the environment variable
// FRITZBOX_PHONE_MODEL (tern, gull, wren; anything else or unset means Other).
void setPhoneModel(PhoneModel model);
PhoneModel phoneModel();
// Forgets the model set, so that the environment variable is read again.
void resetPhoneModel();
// "tern", "gull", "wren", "other" (case-insensitive); false for anything else.
bool parsePhoneModel(const std::string& text, PhoneModel& model);

// ---- logging ----

// Lines up to this level are written; level 2 and below always. Until set, it comes from the
// environment variable FRITZBOX_LOG_LEVEL (default 2).
void setLogLevel(int level);
int logLevel();
// Forgets the level set, so that the environment variable is read again.
void resetLogLevel();

struct LogRecord {
    std::string module;
    std::string sourcePath;
    int level = 0;
    int line = 0;
    std::string message;
};
using LogSink = std::function<void(const LogRecord&)>;
// Sends every written line to `sink` instead of stderr; an empty sink restores stderr.
void setLogSink(LogSink sink);

}  // namespace linux_platform
