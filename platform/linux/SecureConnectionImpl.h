#pragma once
// The Linux state behind a SecureConnection: one non-blocking TCP socket, the bytes received but
// not yet consumed by the HTTP client (the inbox), and the bookkeeping that tells whether the
// byte stream is still in step with the HTTP exchanges carried over it.
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace linux_platform {
namespace detail {
// Counts one HTTP request written (reported by linux_platform::transportStats()).
void countRequestSent();
}  // namespace detail
}  // namespace linux_platform

class SecureConnectionImpl {
public:
    enum class ReceiveResult { Data, PeerClosed, Failed };

    SecureConnectionImpl(std::string host, std::string port, unsigned ioTimeoutSeconds);
    ~SecureConnectionImpl();
    SecureConnectionImpl(const SecureConnectionImpl&) = delete;
    SecureConnectionImpl& operator=(const SecureConnectionImpl&) = delete;

    // Resolves the (mapped) host and connects; throws SecureTransportException on failure.
    void connect(unsigned connectTimeoutSeconds);

    const std::string& host() const { return m_host; }
    const std::string& port() const { return m_port; }
    // The wait limit for one exchange: `requestedSeconds`, or the connection's own when it is 0.
    int exchangeTimeoutMs(int requestedSeconds) const;

    bool isUsable() const;
    // Closes the socket and forgets unread bytes; the connection is unusable afterwards. Also the
    // reaction to any I/O failure, because the byte stream can no longer be trusted then.
    void close();

    // Sends all bytes, each wait for socket space bounded by `timeoutMs`; closes the connection
    // and returns false on failure.
    bool sendAll(const char* data, std::size_t length, int timeoutMs);
    // Appends what one receive returns to the unread bytes, waiting at most `timeoutMs` for it. A
    // failure closes the connection; after the peer's end of stream the unread bytes stay readable.
    ReceiveResult receiveMore(int timeoutMs);
    // The bytes received but not consumed yet. Consuming (at most unread().size() bytes) only moves
    // a position: taking many small pieces (chunk lines, small chunks) off a full buffer would
    // otherwise move all of the rest each time. receiveMore() drops the consumed bytes.
    std::string_view unread() const { return std::string_view(m_inbox).substr(m_consumed); }
    void consume(std::size_t count) { m_consumed += count; }

    // An exchange runs from a sent request to the end of its response body. `owner` stands for
    // the HTTP client reading it: once the owner is gone with the body unread, the stream holds
    // bytes nobody will consume and the connection cannot carry another exchange.
    void beginExchange(const std::shared_ptr<void>& owner);
    void endExchange();
    bool exchangeInProgress() const { return m_exchangeOpen; }

private:
    void closeSocket();
    bool idleStreamIsClean() const;

    std::string m_host;
    std::string m_port;
    int m_ioTimeoutMs;
    int m_fd = -1;
    bool m_peerClosed = false;
    std::string m_inbox;
    std::size_t m_consumed = 0;  // bytes at the front of m_inbox that are already taken
    bool m_exchangeOpen = false;
    std::weak_ptr<void> m_exchangeOwner;
};
