// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Host-name resolution with a time limit. getaddrinfo() itself waits as long as the system's
// resolver is configured to (tens of seconds for an unreachable DNS server); a phone's service
// must not hang that long, so lookups run through glibc's asynchronous getaddrinfo_a and are given
// up at a deadline.
#include <netdb.h>

#include <chrono>
#include <memory>
#include <string>

namespace linux_platform {
namespace detail {

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

// The stream-socket addresses of `address`:`port`, found before `deadline`. Numeric addresses
// need no lookup. Throws SecureTransportException naming `host` (the name the caller asked for,
// which host mapping may have turned into `address`) when the name cannot be resolved in time.
AddressList resolveBefore(const std::string& host, const std::string& address, const std::string& port,
                          std::chrono::steady_clock::time_point deadline);

}  // namespace detail
}  // namespace linux_platform
