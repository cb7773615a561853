// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Plain TCP transport of the Linux platform. This build has no TLS: the router is spoken to in
// plain HTTP, so a context only keeps its settings and a connection asking for TLS is refused.
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>

#include "AsciiText.h"
#include "LinuxPlatform.h"
#include "NameResolver.h"
#include "SecureConnectionImpl.h"
#include "SecureTransport.h"
#include "TransportControls.h"

namespace {

using Clock = std::chrono::steady_clock;

// Used when a caller passes a time-out of 0, so that no wait is ever unbounded.
constexpr unsigned kDefaultTimeoutSeconds = 30;
// Keeps every limit in milliseconds inside an int (poll's time-out type).
constexpr unsigned kMaxTimeoutMs = 24u * 3600u * 1000u;

// A limit the program replaced, else `fallbackMs`.
unsigned overriddenMs(unsigned overrideMs, std::uint64_t fallbackMs) {
    return static_cast<unsigned>(std::min<std::uint64_t>(overrideMs != 0 ? overrideMs : fallbackMs, kMaxTimeoutMs));
}

// A caller's time-out in milliseconds, unless the program replaced it.
unsigned effectiveTimeoutMs(unsigned seconds, unsigned overrideMs) {
    return overriddenMs(overrideMs, std::uint64_t{seconds != 0 ? seconds : kDefaultTimeoutSeconds} * 1000u);
}

unsigned derivedExchangeLimitMs(unsigned connectMs, unsigned ioMs) {
    const std::uint64_t derived =
        connectMs + std::uint64_t{linux_platform::kExchangeLimitInIoTimeouts} * std::uint64_t{ioMs};
    return overriddenMs(linux_platform::detail::timeLimitOverrides().exchangeMs, derived);
}

std::string errorText(int error) {
    return std::error_code(error, std::system_category()).message();
}

int millisecondsUntil(Clock::time_point deadline) {
    if (deadline == Clock::time_point::max()) {
        return static_cast<int>(kMaxTimeoutMs);
    }
    // Rounded up, so that a wait that ends at the deadline does not end just before it.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, kMaxTimeoutMs));
}

enum class WaitResult { Ready, TimedOut, Failed };

// Waits until `fd` reports one of `events` (or an error condition, which the next call on the
// socket then reports), restarting after signals with the time that is left.
WaitResult waitForSocket(int fd, short events, int timeoutMs) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        pollfd entry{fd, events, 0};
        const int ready = ::poll(&entry, 1, millisecondsUntil(deadline));
        if (ready > 0) {
            return WaitResult::Ready;
        }
        if (ready == 0) {
            return WaitResult::TimedOut;
        }
        if (errno != EINTR) {
            return WaitResult::Failed;
        }
    }
}

// "192.0.2.1:80" or "[2001:db8::1]:80" for error messages.
std::string numericEndpoint(const addrinfo& entry) {
    char host[NI_MAXHOST] = "?";
    char service[NI_MAXSERV] = "?";
    ::getnameinfo(entry.ai_addr, entry.ai_addrlen, host, sizeof host, service, sizeof service,
                  NI_NUMERICHOST | NI_NUMERICSERV);
    const std::string hostText = entry.ai_family == AF_INET6 ? "[" + std::string(host) + "]" : host;
    return hostText + ":" + service;
}

// Returns the socket's pending error after a non-blocking connect finished or timed out, or a
// time-out description.
std::string finishConnect(int fd, int timeoutMs) {
    const WaitResult waited = waitForSocket(fd, POLLOUT, timeoutMs);
    if (waited == WaitResult::TimedOut) {
        return "timed out";
    }
    if (waited == WaitResult::Failed) {
        return errorText(errno);
    }
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0) {
        return errorText(errno);
    }
    return error == 0 ? std::string() : errorText(error);
}

// Connects to one address before `deadline`; returns the socket, or -1 with `failure` set.
int connectTo(const addrinfo& entry, Clock::time_point deadline, std::string& failure) {
    const int fd = ::socket(entry.ai_family, entry.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, entry.ai_protocol);
    if (fd < 0) {
        failure = errorText(errno);
        return -1;
    }
    if (::connect(fd, entry.ai_addr, entry.ai_addrlen) == 0) {
        failure.clear();
    } else if (errno == EINPROGRESS) {
        failure = finishConnect(fd, millisecondsUntil(deadline));
    } else {
        failure = errorText(errno);
    }
    if (!failure.empty()) {
        ::close(fd);
        return -1;
    }
    // Requests go out as one or two writes; waiting for ACKs of small segments only adds latency.
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
}

}  // namespace

// ---- SecureTransportContext ----

SecureTransportContext::SecureTransportContext(const SecurityCertificate&, const SecurityKey&,
                                               const SecurityCertificate&, eProtocolType protocol,
                                               const CertificateVerificationPolicy* verificationPolicy,
                                               const OnlineCertStatusPolicy*, const std::string&)
    : m_protocol(protocol), m_verifyPeer(verificationPolicy != nullptr && verificationPolicy->verifyPeer()) {}

SecureTransportContext::~SecureTransportContext() = default;

// ---- SecureConnectionImpl ----

SecureConnectionImpl::SecureConnectionImpl(unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds)
    : m_connectTimeoutMs(
          effectiveTimeoutMs(connectTimeoutSeconds, linux_platform::detail::timeLimitOverrides().connectMs)),
      m_ioTimeoutMs(effectiveTimeoutMs(ioTimeoutSeconds, linux_platform::detail::timeLimitOverrides().ioMs)),
      m_exchangeLimitMs(derivedExchangeLimitMs(m_connectTimeoutMs, m_ioTimeoutMs)),
      m_exchangeIoTimeoutMs(static_cast<int>(m_ioTimeoutMs)) {}

SecureConnectionImpl::~SecureConnectionImpl() {
    closeSocket();
}

void SecureConnectionImpl::connect(const std::string& host, const std::string& port) {
    close();
    m_host = host;
    m_port = port;
    m_peerClosed = false;
    m_receivedOnSocket = false;
    linux_platform::resolveMappedHost(host, port, m_peerAddress, m_peerPort);
    const auto deadline = std::min(Clock::now() + std::chrono::milliseconds(m_connectTimeoutMs), m_exchangeDeadline);
    const linux_platform::detail::AddressList addresses =
        linux_platform::detail::resolveBefore(host, m_peerAddress, m_peerPort, deadline);
    std::string failure;
    for (const addrinfo* entry = addresses.get(); entry != nullptr; entry = entry->ai_next) {
        m_fd = connectTo(*entry, deadline, failure);
        if (m_fd >= 0) {
            linux_platform::detail::countConnectionOpened();
            return;
        }
        failure = "cannot connect to " + host + ":" + port + " (" + numericEndpoint(*entry) + "): " + failure;
    }
    throw SecureTransportException(failure);
}

bool SecureConnectionImpl::leadsTo(const std::string& host, const std::string& port) const {
    std::string address;
    std::string mappedPort;
    linux_platform::resolveMappedHost(host, port, address, mappedPort);
    return linux_platform::detail::equalsIgnoreCase(address, m_peerAddress) && mappedPort == m_peerPort;
}

void SecureConnectionImpl::startExchange(int ioTimeoutSeconds) {
    const linux_platform::TimeLimitOverrides overrides = linux_platform::detail::timeLimitOverrides();
    const unsigned ioMs = ioTimeoutSeconds > 0
                              ? effectiveTimeoutMs(static_cast<unsigned>(ioTimeoutSeconds), overrides.ioMs)
                              : m_ioTimeoutMs;
    m_exchangeIoTimeoutMs = static_cast<int>(ioMs);
    m_exchangeLimitMs = derivedExchangeLimitMs(m_connectTimeoutMs, ioMs);
    m_exchangeDeadline = Clock::now() + std::chrono::milliseconds(m_exchangeLimitMs);
    m_lowSpeedWindowMs = overriddenMs(overrides.lowSpeedWindowMs, linux_platform::kLowSpeedWindowSeconds * 1000u);
    m_lowSpeedBytesPerSecond = overrides.lowSpeedBytesPerSecond != 0 ? overrides.lowSpeedBytesPerSecond
                                                                     : linux_platform::kLowSpeedBytesPerSecond;
    // At least one byte, so that a window never counts as reached without any transfer.
    m_windowFloorBytes = std::max<std::uint64_t>(
        std::uint64_t{m_lowSpeedBytesPerSecond} * std::uint64_t{m_lowSpeedWindowMs} / 1000u, 1u);
    startLowSpeedWindow();
}

void SecureConnectionImpl::endExchange() {
    m_exchangeDeadline = Clock::time_point::max();
    m_exchangeIoTimeoutMs = static_cast<int>(m_ioTimeoutMs);
    m_windowFloorBytes = 0;
    m_windowDeadline = Clock::time_point::max();
}

std::string SecureConnectionImpl::limitReached() const {
    const auto now = Clock::now();
    if (now >= m_exchangeDeadline) {
        return "the exchange reached its limit of " + std::to_string(m_exchangeLimitMs) + " ms";
    }
    if (now >= m_windowDeadline) {
        return "the transfer stayed below " + std::to_string(m_lowSpeedBytesPerSecond) + " bytes/s for " +
               std::to_string(m_lowSpeedWindowMs) + " ms";
    }
    return std::string();
}

void SecureConnectionImpl::startLowSpeedWindow() {
    m_windowBytes = 0;
    m_windowDeadline = Clock::now() + std::chrono::milliseconds(m_lowSpeedWindowMs);
}

// Bytes moved in either direction; a window that has seen its bytes gives way to the next. Outside
// an exchange no window runs.
void SecureConnectionImpl::countTransferred(std::size_t bytes) {
    m_windowBytes += bytes;
    if (m_windowFloorBytes != 0 && m_windowBytes >= m_windowFloorBytes) {
        startLowSpeedWindow();
    }
}

int SecureConnectionImpl::waitLimitMs() const {
    return std::min(
        {m_exchangeIoTimeoutMs, millisecondsUntil(m_exchangeDeadline), millisecondsUntil(m_windowDeadline)});
}

bool SecureConnectionImpl::isUsable() const {
    return m_fd >= 0 && (m_claimed || (unread().empty() && idleStreamIsClean()));
}

// Between exchanges nothing may arrive: a readable socket means end of stream, a reset, or bytes
// that belong to no request.
bool SecureConnectionImpl::idleStreamIsClean() const {
    char byte;
    const ssize_t peeked = ::recv(m_fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return peeked < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
}

void SecureConnectionImpl::close() {
    closeSocket();
    forget();
    m_claimed = false;
}

void SecureConnectionImpl::closeSocket() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

bool SecureConnectionImpl::sendAll(const char* data, std::size_t length) {
    while (length > 0 && m_fd >= 0) {
        const ssize_t sent = ::send(m_fd, data, length, MSG_NOSIGNAL);
        if (sent > 0) {
            countTransferred(static_cast<std::size_t>(sent));
            data += sent;
            length -= static_cast<std::size_t>(sent);
        } else if (sent < 0 && errno == EINTR) {
            continue;
        } else if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) &&
                   waitForSocket(m_fd, POLLOUT, waitLimitMs()) == WaitResult::Ready) {
            continue;
        } else {
            close();
        }
    }
    return length == 0;
}

SecureConnectionImpl::ReceiveResult SecureConnectionImpl::receiveMore() {
    while (m_fd >= 0) {
        char buffer[32 * 1024];
        const ssize_t received = ::recv(m_fd, buffer, sizeof buffer, 0);
        if (received > 0) {
            append(buffer, static_cast<std::size_t>(received));
            countTransferred(static_cast<std::size_t>(received));
            m_receivedOnSocket = true;
            return ReceiveResult::Data;
        }
        if (received == 0) {
            m_peerClosed = true;
            closeSocket();
            return ReceiveResult::PeerClosed;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            // A reset is the peer's doing as much as an orderly end of stream.
            const bool reset = errno == ECONNRESET;
            close();
            return reset ? ReceiveResult::PeerClosed : ReceiveResult::Failed;
        }
        const WaitResult waited = waitForSocket(m_fd, POLLIN, waitLimitMs());
        if (waited != WaitResult::Ready) {
            close();
            return waited == WaitResult::TimedOut ? ReceiveResult::TimedOut : ReceiveResult::Failed;
        }
    }
    return m_peerClosed ? ReceiveResult::PeerClosed : ReceiveResult::Failed;
}

// ---- SecureConnection ----

SecureConnection::SecureConnection(SecureTransportContext&, const std::string& host, const std::string& port,
                                   unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds, bool plainText)
    : m_impl(nullptr) {
    if (!plainText) {
        throw SecureTransportException("TLS is not available in this platform build (connection to " + host + ":" +
                                       port + ")");
    }
    auto impl = std::make_unique<SecureConnectionImpl>(connectTimeoutSeconds, ioTimeoutSeconds);
    try {
        impl->connect(host, port);
    } catch (const SecureTransportException& error) {
        linux_platform::detail::noteFailure(error.what());
        throw;
    }
    m_impl = impl.release();
}

SecureConnection::~SecureConnection() {
    delete m_impl;
}

bool SecureConnection::isUsable() const {
    return m_impl->isUsable();
}

void SecureConnection::close() {
    m_impl->close();
}

const std::string& SecureConnection::host() const {
    return m_impl->host();
}

const std::string& SecureConnection::port() const {
    return m_impl->port();
}
