// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Counts the TCP connections requests arrive on. httplib tells a handler the client's address
// and port but not the socket, so a connection is recognised by that pair: it names one
// connection while the connection is open, and the server closes a connection that stays idle
// longer than the keep-alive timeout. A pair seen again within that time is therefore the same
// connection; a pair never seen, or last seen longer ago, is a new one. Not thread-safe.
#include <chrono>
#include <map>
#include <string>

namespace routersim {

class ConnectionTracker {
public:
    using Clock = std::chrono::steady_clock;

    explicit ConnectionTracker(Clock::duration keepAliveTimeout) : m_keepAliveTimeout(keepAliveTimeout) {}

    // A request from `peer` ("address:port") arrived; true when it came on a new connection.
    bool noteRequest(const std::string& peer, Clock::time_point now);
    // The answer to `peer` is written: the connection's idle time starts now.
    void noteAnswer(const std::string& peer, Clock::time_point now);

private:
    void forgetClosedConnections(Clock::time_point now);

    Clock::duration m_keepAliveTimeout;
    std::map<std::string, Clock::time_point> m_lastActivity;
};

}  // namespace routersim
