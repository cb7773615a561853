// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The Linux state behind a SecureConnection: one non-blocking TCP socket to one peer as the byte
// source of the HTTP client's response reader, and the time limits of the connection and of the
// exchange running over it.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ByteSource.h"

class SecureConnectionImpl : public linux_platform::http::ByteSource {
public:
    using Clock = std::chrono::steady_clock;

    SecureConnectionImpl(unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds);
    ~SecureConnectionImpl() override;

    // Closes any socket it has, then resolves `host` (through the host-name mapping first) and
    // connects to it within the connect time-out (and the running exchange's limit, if any).
    // Throws SecureTransportException on failure.
    void connect(const std::string& host, const std::string& port);
    // True when a request for `host`:`port` reaches the peer this connection was opened to,
    // compared after host-name mapping.
    bool leadsTo(const std::string& host, const std::string& port) const;

    const std::string& host() const { return m_host; }
    const std::string& port() const { return m_port; }

    // Starts the clock of one exchange: every later wait ends at the I/O time-out
    // (`ioTimeoutSeconds`, or the connection's own when 0), at the exchange's limit or at the end of
    // a low-speed window that has not seen its bytes, whichever comes first. endExchange() stops it.
    void startExchange(int ioTimeoutSeconds);
    void endExchange();
    // What ended the exchange, for its failure line: "the exchange reached its limit of N ms", "the
    // transfer stayed below N bytes/s for M ms", or empty when neither limit was reached.
    std::string limitReached() const;

    // An HTTP client reading an answer claims the connection: it stays usable although answer
    // bytes are still on their way. A client that stops early closes it instead of releasing it.
    void claim() { m_claimed = true; }
    void release() { m_claimed = false; }

    bool isUsable() const;
    // True once the current socket received bytes: it carried an earlier exchange.
    bool carriedEarlierAnswers() const { return m_receivedOnSocket; }
    // Closes the socket and forgets unread bytes; the connection is unusable afterwards. Also the
    // reaction to any I/O failure, because the byte stream can no longer be trusted then.
    void close();

    // Sends all bytes; closes the connection and returns false on failure or time-out.
    bool sendAll(const char* data, std::size_t length);
    // Receives from the socket. A failure or time-out closes the connection.
    ReceiveResult receiveMore() override;

private:
    int waitLimitMs() const;
    void countTransferred(std::size_t bytes);
    void startLowSpeedWindow();
    void closeSocket();
    bool idleStreamIsClean() const;

    std::string m_host;
    std::string m_port;
    std::string m_peerAddress;  // m_host:m_port after host-name mapping
    std::string m_peerPort;
    unsigned m_connectTimeoutMs;
    unsigned m_ioTimeoutMs;
    unsigned m_exchangeLimitMs;
    int m_exchangeIoTimeoutMs;
    Clock::time_point m_exchangeDeadline = Clock::time_point::max();
    unsigned m_lowSpeedWindowMs = 0;
    unsigned m_lowSpeedBytesPerSecond = 0;
    std::uint64_t m_windowFloorBytes = 0;  // bytes the current window must see; 0 outside an exchange
    std::uint64_t m_windowBytes = 0;
    Clock::time_point m_windowDeadline = Clock::time_point::max();
    int m_fd = -1;
    bool m_peerClosed = false;
    bool m_receivedOnSocket = false;
    bool m_claimed = false;
};
