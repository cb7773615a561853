// HTTP/1.1 client of the Linux platform, written by hand on the connection's socket.
//
// One client carries one exchange at a time over a kept connection. The response body is read
// incrementally: each readResponse/readMoreData call receives only what it hands back (plus at
// most one socket read ahead), so a large export is never held twice and a silent router costs
// one I/O time-out per wait, never a hang.
//
// Redirects are never followed here, whatever `followRedirects` asks: the caller sees the 3xx
// status and getRedirectHost() and decides itself where to go next.
#include "HttpClient.h"

#include <cstdint>
#include <memory>

#include "AsciiText.h"
#include "HttpMessage.h"
#include "LinuxPlatform.h"
#include "Logging.h"
#include "SecureConnectionImpl.h"
#include "SecureTransport.h"

namespace {

using linux_platform::http::StatusLine;

// Caps that keep a broken or hostile peer from making the client buffer without bound.
constexpr std::size_t kMaxHeaderBlockBytes = 64 * 1024;
constexpr std::size_t kMaxChunkLineBytes = 4 * 1024;
constexpr std::uint64_t kMaxBodyBytes = linux_platform::kMaxResponseBodyBytes;

enum class Framing { None, Length, Chunked, UntilClose };
enum class Phase { Idle, AwaitingResponse, ReadingBody, Complete, Failed };

const char* methodName(HttpClientIfc::HTTPMETHOD method) {
    switch (method) {
        case HttpClientIfc::GET:
            return "GET";
        case HttpClientIfc::POST:
            return "POST";
        case HttpClientIfc::PUT:
            return "PUT";
        case HttpClientIfc::DELETE:
            return "DELETE";
        case HttpClientIfc::HEAD:
            return "HEAD";
    }
    return "GET";
}

// Text that goes into the request head must not end a line early (request splitting).
bool isSingleLine(const std::string& text) {
    return text.find_first_of(std::string("\r\n\0", 3)) == std::string::npos;
}

// The client frames the message itself; a caller's copy of these would contradict it.
bool isFramingHeader(const std::string& name) {
    using linux_platform::detail::equalsIgnoreCase;
    return equalsIgnoreCase(name, "Content-Length") || equalsIgnoreCase(name, "Transfer-Encoding") ||
           equalsIgnoreCase(name, "Connection");
}

struct OutgoingRequest {
    HttpClientIfc::HTTPMETHOD method;
    std::string target;
    const HttpClientIfc::HeaderMap& headers;
    std::string hostHeader;
    bool sendsContentLength;
    std::size_t bodyLength;
    std::string authUser;
    std::string authPassword;
    bool keepAlive;
};

// The request line and header block; false when a caller's text would break the message.
bool composeRequestHead(const OutgoingRequest& request, std::string& head) {
    if (request.target.find(' ') != std::string::npos || !isSingleLine(request.target) ||
        !isSingleLine(request.hostHeader)) {
        return false;
    }
    head = std::string(methodName(request.method)) + " " + request.target + " HTTP/1.1\r\n";
    if (!linux_platform::http::hasHeader(request.headers, "Host")) {
        head += "Host: " + request.hostHeader + "\r\n";
    }
    for (const auto& header : request.headers) {
        if (header.first.empty() || !isSingleLine(header.first) || !isSingleLine(header.second)) {
            return false;
        }
        if (!isFramingHeader(header.first)) {
            head += header.first + ": " + header.second + "\r\n";
        }
    }
    if (request.sendsContentLength) {
        head += "Content-Length: " + std::to_string(request.bodyLength) + "\r\n";
    }
    head += request.keepAlive ? "Connection: keep-alive\r\n" : "Connection: close\r\n";
    if (!request.authUser.empty()) {
        const std::string credentials = request.authUser + ":" + request.authPassword;
        head += "Authorization: Basic " + linux_platform::http::base64(credentials) + "\r\n";
    }
    head += "\r\n";
    return true;
}

// "host" on the default port, "host:port" otherwise; IPv6 literals in brackets.
std::string hostHeaderValue(const std::string& host, const std::string& port) {
    const std::string name = host.find(':') != std::string::npos ? "[" + host + "]" : host;
    return port.empty() || port == "80" ? name : name + ":" + port;
}

}  // namespace

// The state of the client's current exchange and the response parser working on it.
class HttpClientState {
public:
    std::string destinationHost;
    std::string destinationPort;

    // Starts a new exchange on `connection` after its request went out.
    void beginExchange(SecureConnection& connection, HttpClientIfc::HTTPMETHOD method, bool keepAlive, int timeoutMs);
    // Forgets the previous exchange; a connection still carrying its unread response becomes
    // unusable because its owner token dies here.
    void resetExchange();

    int readResponse(SecureConnection* connection, std::string& out, int maxLength,
                     HttpClientIfc::eStatusCode& statusCode, int& totalLength, HttpClientIfc::HeaderMap& headers);
    int readMoreData(SecureConnection* connection, std::string& out, int maxLength);
    const std::string& location() const { return m_location; }

private:
    SecureConnectionImpl& stream() { return m_connection->impl(); }
    bool readLine(std::size_t& budget, std::string& line);
    bool readHeaderBlock(std::size_t& budget, StatusLine& status, HttpClientIfc::HeaderMap& headers);
    bool readFinalHead(StatusLine& status, HttpClientIfc::HeaderMap& headers);
    bool chooseFraming(const StatusLine& status, const HttpClientIfc::HeaderMap& headers);
    int readBody(std::string& out, int maxLength);
    bool readBodyPiece(std::string& out, std::size_t& budget);
    bool takeFramedBytes(std::string& out, std::size_t& budget);
    bool takeBytesUntilClose(std::string& out, std::size_t& budget);
    bool readChunkHeader();
    bool readChunkTerminator();
    bool readTrailers();
    int finish();
    int fail(const char* reason);

    SecureConnection* m_connection = nullptr;
    std::shared_ptr<int> m_exchangeToken;
    HttpClientIfc::HTTPMETHOD m_method = HttpClientIfc::GET;
    bool m_keepAliveRequested = true;
    int m_timeoutMs = 0;
    Phase m_phase = Phase::Idle;
    Framing m_framing = Framing::None;
    std::uint64_t m_framedBytesLeft = 0;  // Length: of the body; Chunked: of the current chunk
    std::uint64_t m_bodyBytesRead = 0;
    bool m_bodyComplete = false;
    bool m_closeWhenDone = false;
    std::string m_location;
};

void HttpClientState::resetExchange() {
    m_exchangeToken.reset();
    m_connection = nullptr;
    m_phase = Phase::Idle;
    m_location.clear();
}

void HttpClientState::beginExchange(SecureConnection& connection, HttpClientIfc::HTTPMETHOD method, bool keepAlive,
                                    int timeoutMs) {
    m_connection = &connection;
    m_exchangeToken = std::make_shared<int>(0);
    stream().beginExchange(m_exchangeToken);
    m_method = method;
    m_keepAliveRequested = keepAlive;
    m_timeoutMs = timeoutMs;
    m_phase = Phase::AwaitingResponse;
}

int HttpClientState::readResponse(SecureConnection* connection, std::string& out, int maxLength,
                                  HttpClientIfc::eStatusCode& statusCode, int& totalLength,
                                  HttpClientIfc::HeaderMap& headers) {
    statusCode = HttpClientIfc::eStatusNone;
    totalLength = -1;
    // The first read fills the body and headers afresh; later reads append to the body.
    out.clear();
    headers.clear();
    if (m_phase != Phase::AwaitingResponse || connection != m_connection) {
        return HttpClientIfc::FAILURE;
    }
    StatusLine status;
    if (!readFinalHead(status, headers)) {
        return fail("no valid response head");
    }
    statusCode = static_cast<HttpClientIfc::eStatusCode>(status.code);
    m_location = linux_platform::http::headerValue(headers, "Location");
    if (!chooseFraming(status, headers)) {
        return fail("invalid or oversized Content-Length");
    }
    if (m_framing == Framing::Length || m_framing == Framing::None) {
        totalLength = static_cast<int>(m_framedBytesLeft);
    }
    m_phase = Phase::ReadingBody;
    return readBody(out, maxLength);
}

int HttpClientState::readMoreData(SecureConnection* connection, std::string& out, int maxLength) {
    if (m_phase == Phase::Complete && connection == m_connection) {
        return HttpClientIfc::SUCCESS;
    }
    if (m_phase != Phase::ReadingBody || connection != m_connection) {
        return HttpClientIfc::FAILURE;
    }
    return readBody(out, maxLength);
}

// Reads one line ending in LF (a preceding CR is dropped). `budget` limits the bytes the line may
// take and is reduced by what it took.
bool HttpClientState::readLine(std::size_t& budget, std::string& line) {
    std::size_t scanned = 0;
    for (;;) {
        const std::string_view unread = stream().unread();
        const std::size_t end = unread.find('\n', scanned);
        if (end != std::string_view::npos) {
            if (end >= budget) {
                return false;
            }
            budget -= end + 1;
            line.assign(unread.data(), end);
            stream().consume(end + 1);
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            return true;
        }
        if (unread.size() >= budget) {
            return false;
        }
        scanned = unread.size();
        if (stream().receiveMore(m_timeoutMs) != SecureConnectionImpl::ReceiveResult::Data) {
            return false;
        }
    }
}

bool HttpClientState::readHeaderBlock(std::size_t& budget, StatusLine& status, HttpClientIfc::HeaderMap& headers) {
    headers.clear();
    std::string line;
    if (!readLine(budget, line) || !linux_platform::http::parseStatusLine(line, status)) {
        return false;
    }
    for (;;) {
        if (!readLine(budget, line)) {
            return false;
        }
        if (line.empty()) {
            return true;
        }
        std::string name;
        std::string value;
        if (!linux_platform::http::parseHeaderLine(line, name, value)) {
            return false;
        }
        headers.emplace(name, value);
    }
}

// Skips interim 1xx responses (100 Continue and the like); 101 ends the exchange like a final one.
bool HttpClientState::readFinalHead(StatusLine& status, HttpClientIfc::HeaderMap& headers) {
    std::size_t budget = kMaxHeaderBlockBytes;
    do {
        if (!readHeaderBlock(budget, status, headers)) {
            return false;
        }
    } while (status.code < 200 && status.code != 101);
    return true;
}

// Works out how the body ends (by the HTTP/1.1 message length rules) and whether the connection
// ends with it.
bool HttpClientState::chooseFraming(const StatusLine& status, const HttpClientIfc::HeaderMap& headers) {
    using namespace linux_platform::http;
    const std::string connectionOptions = headerValue(headers, "Connection");
    const bool beforeHttp11 = status.majorVersion < 1 || (status.majorVersion == 1 && status.minorVersion == 0);
    m_closeWhenDone = !m_keepAliveRequested || hasToken(connectionOptions, "close") ||
                      (beforeHttp11 && !hasToken(connectionOptions, "keep-alive"));
    m_framedBytesLeft = 0;
    m_bodyBytesRead = 0;
    m_bodyComplete = false;
    const std::string transferCoding = headerValue(headers, "Transfer-Encoding");
    if (m_method == HttpClientIfc::HEAD || status.code < 200 || status.code == 204 || status.code == 304) {
        m_framing = Framing::None;
    } else if (!transferCoding.empty()) {
        m_framing = linux_platform::detail::equalsIgnoreCase(lastToken(transferCoding), "chunked")
                        ? Framing::Chunked
                        : Framing::UntilClose;
    } else if (hasHeader(headers, "Content-Length")) {
        if (!parseContentLength(headerValue(headers, "Content-Length"), kMaxBodyBytes, m_framedBytesLeft)) {
            return false;
        }
        m_framing = Framing::Length;
    } else {
        m_framing = Framing::UntilClose;
    }
    m_closeWhenDone = m_closeWhenDone || m_framing == Framing::UntilClose;
    m_bodyComplete = m_framing == Framing::None || (m_framing == Framing::Length && m_framedBytesLeft == 0);
    return true;
}

int HttpClientState::readBody(std::string& out, int maxLength) {
    std::size_t budget = maxLength > 0 ? static_cast<std::size_t>(maxLength) : 0;
    while (budget > 0 && !m_bodyComplete) {
        if (!readBodyPiece(out, budget)) {
            return fail("response body incomplete, oversized or malformed");
        }
    }
    // At the end of a chunk only the next chunk header tells whether the body goes on; reading it
    // now lets the caller get SUCCESS together with the last bytes.
    if (!m_bodyComplete && m_framing == Framing::Chunked && m_framedBytesLeft == 0 && !readChunkHeader()) {
        return fail("malformed or oversized chunk header");
    }
    return m_bodyComplete ? finish() : HttpClientIfc::MORE_DATA;
}

bool HttpClientState::readBodyPiece(std::string& out, std::size_t& budget) {
    switch (m_framing) {
        case Framing::Length:
            if (!takeFramedBytes(out, budget)) {
                return false;
            }
            m_bodyComplete = m_framedBytesLeft == 0;
            return true;
        case Framing::Chunked:
            if (m_framedBytesLeft == 0) {
                return readChunkHeader();
            }
            return takeFramedBytes(out, budget) && (m_framedBytesLeft > 0 || readChunkTerminator());
        case Framing::UntilClose:
            return takeBytesUntilClose(out, budget);
        case Framing::None:
            break;
    }
    m_bodyComplete = true;
    return true;
}

// Moves received bytes of the current Content-Length body or chunk into `out`; the peer closing
// before they are all there fails the read.
bool HttpClientState::takeFramedBytes(std::string& out, std::size_t& budget) {
    if (stream().unread().empty() && stream().receiveMore(m_timeoutMs) != SecureConnectionImpl::ReceiveResult::Data) {
        return false;
    }
    const std::string_view unread = stream().unread();
    std::size_t count = unread.size() < budget ? unread.size() : budget;
    if (count > m_framedBytesLeft) {
        count = static_cast<std::size_t>(m_framedBytesLeft);
    }
    out.append(unread.data(), count);
    stream().consume(count);
    budget -= count;
    m_framedBytesLeft -= count;
    m_bodyBytesRead += count;
    return true;
}

// A body without length or chunking ends where the peer closes the connection.
bool HttpClientState::takeBytesUntilClose(std::string& out, std::size_t& budget) {
    if (stream().unread().empty()) {
        const SecureConnectionImpl::ReceiveResult received = stream().receiveMore(m_timeoutMs);
        if (received == SecureConnectionImpl::ReceiveResult::PeerClosed) {
            m_bodyComplete = true;
            return true;
        }
        if (received == SecureConnectionImpl::ReceiveResult::Failed) {
            return false;
        }
    }
    const std::string_view unread = stream().unread();
    const std::size_t count = unread.size() < budget ? unread.size() : budget;
    out.append(unread.data(), count);
    stream().consume(count);
    budget -= count;
    m_bodyBytesRead += count;
    return m_bodyBytesRead <= kMaxBodyBytes;
}

bool HttpClientState::readChunkHeader() {
    std::size_t budget = kMaxChunkLineBytes;
    std::string line;
    std::uint64_t size = 0;
    if (!readLine(budget, line) || !linux_platform::http::parseChunkSize(line, kMaxBodyBytes - m_bodyBytesRead, size)) {
        return false;
    }
    m_framedBytesLeft = size;
    return size > 0 || readTrailers();
}

bool HttpClientState::readChunkTerminator() {
    std::size_t budget = kMaxChunkLineBytes;
    std::string line;
    return readLine(budget, line) && line.empty();
}

// Trailer fields after the last chunk carry nothing the callers use; they are read and dropped.
bool HttpClientState::readTrailers() {
    std::size_t budget = kMaxHeaderBlockBytes;
    std::string line;
    do {
        if (!readLine(budget, line)) {
            return false;
        }
    } while (!line.empty());
    m_bodyComplete = true;
    return true;
}

int HttpClientState::finish() {
    m_phase = Phase::Complete;
    stream().endExchange();
    if (m_closeWhenDone) {
        stream().close();
    }
    return HttpClientIfc::SUCCESS;
}

// The byte stream is out of step with the exchange after any failure, so the connection closes.
int HttpClientState::fail(const char* reason) {
    logAppQel("Platform", "./platform/linux/HttpClient", 4, __LINE__, "HTTP exchange with %s:%s failed: %s",
              stream().host().c_str(), stream().port().c_str(), reason);
    m_phase = Phase::Failed;
    stream().close();
    return HttpClientIfc::FAILURE;
}

// ---- HttpClient ----

HttpClient::HttpClient() : m_state(new HttpClientState) {}

// Dropping the state ends its exchange token: a connection whose response body this client left
// unread reports itself unusable from then on.
HttpClient::~HttpClient() {
    delete m_state;
}

void HttpClient::setDestinationHost(const std::string& host, const std::string& port) {
    m_state->destinationHost = host;
    m_state->destinationPort = port;
}

int HttpClient::sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int /*followRedirects*/) {
    m_state->resetExchange();
    if (connection == nullptr) {
        return FAILURE;
    }
    SecureConnectionImpl& stream = connection->impl();
    const std::string& host = m_state->destinationHost.empty() ? stream.host() : m_state->destinationHost;
    const std::string& port = m_state->destinationHost.empty() ? stream.port() : m_state->destinationPort;
    const std::size_t sentBodyLength = body != nullptr ? bodyLength : 0;
    const OutgoingRequest request{method,
                                  path != nullptr && path[0] != '\0' ? path : "/",
                                  headers,
                                  hostHeaderValue(host, port),
                                  sentBodyLength > 0 || method == POST || method == PUT,
                                  sentBodyLength,
                                  authUser,
                                  authPassword,
                                  keepAlive != 0};
    std::string head;
    // A connection still inside an earlier exchange has unread response bytes in its stream.
    if (!stream.isUsable() || stream.exchangeInProgress() || !composeRequestHead(request, head)) {
        stream.close();
        return FAILURE;
    }
    const int timeoutMs = stream.exchangeTimeoutMs(timeoutSeconds);
    if (!stream.sendAll(head.data(), head.size(), timeoutMs) || !stream.sendAll(body, sentBodyLength, timeoutMs)) {
        return FAILURE;
    }
    linux_platform::detail::countRequestSent();
    m_state->beginExchange(*connection, method, request.keepAlive, timeoutMs);
    return SUCCESS;
}

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    return m_state->readResponse(connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
}

int HttpClient::readMoreData(SecureConnection* connection, std::string& data, int maxLength) {
    return m_state->readMoreData(connection, data, maxLength);
}

std::string HttpClient::getRedirectHost() {
    return linux_platform::http::hostOfLocation(m_state->location());
}
