// Plain TCP transport of the Linux platform. This build has no TLS: the router is spoken to in
// plain HTTP, so a context only keeps its settings and a connection asking for TLS is refused.
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>

#include "LinuxPlatform.h"
#include "SecureConnectionImpl.h"
#include "SecureTransport.h"

namespace {

using Clock = std::chrono::steady_clock;

// Used when a caller passes a time-out of 0, so that no wait is ever unbounded.
constexpr unsigned kDefaultTimeoutSeconds = 30;
// Keeps seconds * 1000 inside an int (poll's time-out type).
constexpr unsigned kMaxTimeoutSeconds = 24u * 3600u;

std::atomic<std::uint64_t> g_connectionsOpened{0};
std::atomic<std::uint64_t> g_requestsSent{0};

unsigned effectiveTimeoutSeconds(unsigned seconds) {
    if (seconds == 0) {
        return kDefaultTimeoutSeconds;
    }
    return seconds < kMaxTimeoutSeconds ? seconds : kMaxTimeoutSeconds;
}

std::string errorText(int error) {
    return std::error_code(error, std::system_category()).message();
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
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

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

AddressList resolve(const std::string& host, const std::string& address, const std::string& port) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const int status = ::getaddrinfo(address.c_str(), port.c_str(), &hints, &list);
    if (status != 0) {
        const std::string mapped = address == host ? "" : " (mapped to '" + address + "')";
        const std::string reason = status == EAI_SYSTEM ? errorText(errno) : ::gai_strerror(status);
        throw SecureTransportException("cannot resolve host '" + host + "'" + mapped + ": " + reason);
    }
    return AddressList(list, &freeaddrinfo);
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
std::string finishConnect(int fd, int timeoutMs, unsigned timeoutSeconds) {
    const WaitResult waited = waitForSocket(fd, POLLOUT, timeoutMs);
    if (waited == WaitResult::TimedOut) {
        return "timed out after " + std::to_string(timeoutSeconds) + " s";
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
int connectTo(const addrinfo& entry, Clock::time_point deadline, unsigned timeoutSeconds, std::string& failure) {
    const int fd = ::socket(entry.ai_family, entry.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, entry.ai_protocol);
    if (fd < 0) {
        failure = errorText(errno);
        return -1;
    }
    if (::connect(fd, entry.ai_addr, entry.ai_addrlen) == 0) {
        failure.clear();
    } else if (errno == EINPROGRESS) {
        failure = finishConnect(fd, millisecondsUntil(deadline), timeoutSeconds);
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

// ---- counters ----

namespace linux_platform {

TransportStats transportStats() {
    return TransportStats{g_connectionsOpened.load(), g_requestsSent.load()};
}

void resetTransportStats() {
    g_connectionsOpened = 0;
    g_requestsSent = 0;
}

void detail::countRequestSent() {
    ++g_requestsSent;
}

}  // namespace linux_platform

// ---- SecureTransportContext ----

SecureTransportContext::SecureTransportContext(const SecurityCertificate&, const SecurityKey&,
                                               const SecurityCertificate&, eProtocolType protocol,
                                               const CertificateVerificationPolicy* verificationPolicy,
                                               const OnlineCertStatusPolicy*, const std::string&)
    : m_protocol(protocol), m_verifyPeer(verificationPolicy != nullptr && verificationPolicy->verifyPeer()) {}

SecureTransportContext::~SecureTransportContext() = default;

// ---- SecureConnectionImpl ----

SecureConnectionImpl::SecureConnectionImpl(std::string host, std::string port, unsigned ioTimeoutSeconds)
    : m_host(std::move(host)),
      m_port(std::move(port)),
      m_ioTimeoutMs(static_cast<int>(effectiveTimeoutSeconds(ioTimeoutSeconds) * 1000u)) {}

SecureConnectionImpl::~SecureConnectionImpl() {
    closeSocket();
}

void SecureConnectionImpl::connect(unsigned connectTimeoutSeconds) {
    std::string address;
    std::string port;
    linux_platform::resolveMappedHost(m_host, m_port, address, port);
    const AddressList addresses = resolve(m_host, address, port);
    const unsigned timeoutSeconds = effectiveTimeoutSeconds(connectTimeoutSeconds);
    const auto deadline = Clock::now() + std::chrono::seconds(timeoutSeconds);
    std::string failure;
    for (const addrinfo* entry = addresses.get(); entry != nullptr; entry = entry->ai_next) {
        m_fd = connectTo(*entry, deadline, timeoutSeconds, failure);
        if (m_fd >= 0) {
            ++g_connectionsOpened;
            return;
        }
        failure = "cannot connect to " + m_host + ":" + m_port + " (" + numericEndpoint(*entry) + "): " + failure;
    }
    throw SecureTransportException(failure);
}

int SecureConnectionImpl::exchangeTimeoutMs(int requestedSeconds) const {
    if (requestedSeconds <= 0) {
        return m_ioTimeoutMs;
    }
    return static_cast<int>(effectiveTimeoutSeconds(static_cast<unsigned>(requestedSeconds)) * 1000u);
}

bool SecureConnectionImpl::isUsable() const {
    if (m_fd < 0) {
        return false;
    }
    if (m_exchangeOpen) {
        return !m_exchangeOwner.expired();
    }
    return unread().empty() && idleStreamIsClean();
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
    m_inbox.clear();
    m_consumed = 0;
    endExchange();
}

void SecureConnectionImpl::closeSocket() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

bool SecureConnectionImpl::sendAll(const char* data, std::size_t length, int timeoutMs) {
    while (length > 0 && m_fd >= 0) {
        const ssize_t sent = ::send(m_fd, data, length, MSG_NOSIGNAL);
        if (sent > 0) {
            data += sent;
            length -= static_cast<std::size_t>(sent);
        } else if (sent < 0 && errno == EINTR) {
            continue;
        } else if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) &&
                   waitForSocket(m_fd, POLLOUT, timeoutMs) == WaitResult::Ready) {
            continue;
        } else {
            close();
        }
    }
    return length == 0;
}

SecureConnectionImpl::ReceiveResult SecureConnectionImpl::receiveMore(int timeoutMs) {
    // Only an incomplete line or nothing at all is left unread when more is asked for, so this
    // moves few bytes.
    m_inbox.erase(0, m_consumed);
    m_consumed = 0;
    while (m_fd >= 0) {
        char buffer[32 * 1024];
        const ssize_t received = ::recv(m_fd, buffer, sizeof buffer, 0);
        if (received > 0) {
            m_inbox.append(buffer, static_cast<std::size_t>(received));
            return ReceiveResult::Data;
        }
        if (received == 0) {
            m_peerClosed = true;
            closeSocket();
        } else if (errno == EINTR || ((errno == EAGAIN || errno == EWOULDBLOCK) &&
                                      waitForSocket(m_fd, POLLIN, timeoutMs) == WaitResult::Ready)) {
            continue;
        } else {
            close();
        }
    }
    return m_peerClosed ? ReceiveResult::PeerClosed : ReceiveResult::Failed;
}

void SecureConnectionImpl::beginExchange(const std::shared_ptr<void>& owner) {
    m_exchangeOpen = true;
    m_exchangeOwner = owner;
}

void SecureConnectionImpl::endExchange() {
    m_exchangeOpen = false;
    m_exchangeOwner.reset();
}

// ---- SecureConnection ----

SecureConnection::SecureConnection(SecureTransportContext&, const std::string& host, const std::string& port,
                                   unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds, bool plainText)
    : m_impl(nullptr) {
    if (!plainText) {
        throw SecureTransportException("TLS is not available in this platform build (connection to " + host + ":" +
                                       port + ")");
    }
    auto impl = std::make_unique<SecureConnectionImpl>(host, port, ioTimeoutSeconds);
    impl->connect(connectTimeoutSeconds);
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
