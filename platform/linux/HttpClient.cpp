// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// HTTP/1.1 client of the Linux platform, written by hand on the connection's socket.
//
// One client carries one exchange at a time over a kept connection. The response body is read
// incrementally: each readResponse/readMoreData call receives only what it hands back (plus at
// most one socket read ahead), so a large export is never held twice. Every wait is bounded by the
// connection's I/O time-out, the whole exchange by its limit, and a transfer that stays below the
// low-speed floor for a whole window fails it (see LinuxPlatform.h).
//
// The connection goes where the request goes: when the destination host (after host-name
// mapping) is not the peer the connection is open to, or the kept socket is gone, the connection
// opens a new socket to the destination first. A GET whose kept socket turns out closed before
// any byte of the answer arrived is sent once more on a fresh socket, as curl does: a router
// closing idle connections may do so just as the request arrives. A POST is never sent twice.
//
// Redirects are never followed here, whatever `followRedirects` asks: the caller sees the 3xx
// status and getRedirectHost() and decides itself where to go next.
#include "HttpClient.h"

#include <memory>

#include "AsciiText.h"
#include "HttpMessage.h"
#include "LinuxPlatform.h"
#include "Logging.h"
#include "ResponseReader.h"
#include "SecureConnectionImpl.h"
#include "SecureTransport.h"
#include "TransportControls.h"

namespace {

using linux_platform::http::ResponseReader;
using linux_platform::http::StatusLine;

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

// The request line and header block; false when a caller's header would break the message. The
// target is encoded, so no byte of it can.
bool composeRequestHead(const OutgoingRequest& request, std::string& head) {
    if (!isSingleLine(request.hostHeader)) {
        return false;
    }
    head = std::string(methodName(request.method)) + " " + linux_platform::http::encodeRequestTarget(request.target) +
           " HTTP/1.1\r\n";
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

// The client's current exchange: where it goes, the request bytes kept for one resend, and the
// reader of its answer.
class HttpClientState {
public:
    std::string destinationHost;
    std::string destinationPort;

    ~HttpClientState() { abandonExchange(); }

    // Where a request on `connection` goes: the destination set, else the peer it was opened to.
    const std::string& hostFor(const SecureConnection& connection) const {
        return destinationHost.empty() ? connection.host() : destinationHost;
    }
    const std::string& portFor(const SecureConnection& connection) const {
        return destinationHost.empty() ? connection.port() : destinationPort;
    }

    int send(SecureConnection& connection, const OutgoingRequest& request, const char* body, int timeoutSeconds);
    int readResponse(SecureConnection* connection, std::string& out, int maxLength,
                     HttpClientIfc::eStatusCode& statusCode, int& totalLength, HttpClientIfc::HeaderMap& headers);
    int readMoreData(SecureConnection* connection, std::string& out, int maxLength);
    const std::string& location() const { return m_location; }
    // A client that stops before the answer was read leaves its bytes in the stream, so the
    // connection cannot carry another exchange: it is closed.
    void abandonExchange();

private:
    SecureConnectionImpl& stream() { return m_connection->impl(); }
    bool reachDestination();
    bool connectToDestination();
    bool transmit();
    bool mayResend() const;
    bool resendOnFreshSocket();
    bool readHead(StatusLine& status, HttpClientIfc::HeaderMap& headers);
    int readBody(std::string& out, int maxLength);
    int finish();
    int fail(const std::string& reason);

    SecureConnection* m_connection = nullptr;
    std::string m_host;
    std::string m_port;
    std::string m_request;  // head and body as sent
    HttpClientIfc::HTTPMETHOD m_method = HttpClientIfc::GET;
    bool m_keepAliveRequested = true;
    bool m_socketReused = false;
    Phase m_phase = Phase::Idle;
    std::unique_ptr<ResponseReader> m_reader;
    std::string m_location;
};

void HttpClientState::abandonExchange() {
    if (m_phase == Phase::AwaitingResponse || m_phase == Phase::ReadingBody) {
        stream().close();
        stream().endExchange();
    }
    m_phase = Phase::Idle;
    m_connection = nullptr;
    m_reader.reset();
    m_location.clear();
}

int HttpClientState::send(SecureConnection& connection, const OutgoingRequest& request, const char* body,
                          int timeoutSeconds) {
    std::string head;
    if (!composeRequestHead(request, head)) {
        return HttpClientIfc::FAILURE;
    }
    linux_platform::detail::noteRequest(request.target);
    m_connection = &connection;
    m_host = hostFor(connection);
    m_port = portFor(connection);
    m_request = head;
    m_request.append(body != nullptr ? body : "", request.bodyLength);
    m_method = request.method;
    m_keepAliveRequested = request.keepAlive;
    m_phase = Phase::AwaitingResponse;
    stream().startExchange(timeoutSeconds);
    if (!reachDestination()) {
        return HttpClientIfc::FAILURE;
    }
    m_socketReused = stream().carriedEarlierAnswers();
    if (!transmit() && !(mayResend() && resendOnFreshSocket())) {
        return fail("cannot send the request");
    }
    return HttpClientIfc::SUCCESS;
}

// Keeps the socket when it is open to the destination and idle, else opens a new one there.
bool HttpClientState::reachDestination() {
    return (stream().leadsTo(m_host, m_port) && stream().isUsable()) || connectToDestination();
}

// A new socket to the destination; false, with the exchange failed, when there is none.
bool HttpClientState::connectToDestination() {
    try {
        stream().connect(m_host, m_port);
        return true;
    } catch (const SecureTransportException& error) {
        fail(error.what());
        return false;
    }
}

bool HttpClientState::transmit() {
    if (!stream().sendAll(m_request.data(), m_request.size())) {
        return false;
    }
    linux_platform::detail::countRequestSent();
    stream().claim();
    return true;
}

// Only a request that changes nothing at the router may go out twice, and only once more: the
// socket it goes out on the second time is a fresh one.
bool HttpClientState::mayResend() const {
    return m_socketReused && (m_method == HttpClientIfc::GET || m_method == HttpClientIfc::HEAD);
}

bool HttpClientState::resendOnFreshSocket() {
    m_socketReused = false;
    return connectToDestination() && transmit();
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
    if (!readHead(status, headers)) {
        return fail(m_reader->failure());
    }
    statusCode = static_cast<HttpClientIfc::eStatusCode>(status.code);
    linux_platform::detail::noteAnswer(status.code);
    m_location = linux_platform::http::headerValue(headers, "Location");
    totalLength = static_cast<int>(m_reader->announcedLength());
    m_phase = Phase::ReadingBody;
    return readBody(out, maxLength);
}

bool HttpClientState::readHead(StatusLine& status, HttpClientIfc::HeaderMap& headers) {
    const bool headRequest = m_method == HttpClientIfc::HEAD;
    m_reader = std::make_unique<ResponseReader>(stream());
    if (m_reader->readHead(headRequest, m_keepAliveRequested, status, headers)) {
        return true;
    }
    if (!m_reader->peerClosedBeforeAnswer() || !mayResend() || !resendOnFreshSocket()) {
        return false;
    }
    m_reader = std::make_unique<ResponseReader>(stream());
    return m_reader->readHead(headRequest, m_keepAliveRequested, status, headers);
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

int HttpClientState::readBody(std::string& out, int maxLength) {
    switch (m_reader->readBody(out, maxLength > 0 ? static_cast<std::size_t>(maxLength) : 0)) {
        case ResponseReader::Outcome::Complete:
            return finish();
        case ResponseReader::Outcome::More:
            return HttpClientIfc::MORE_DATA;
        case ResponseReader::Outcome::Failed:
            break;
    }
    return fail(m_reader->failure());
}

int HttpClientState::finish() {
    m_phase = Phase::Complete;
    stream().release();
    stream().endExchange();
    if (m_reader->closesConnection()) {
        stream().close();
    }
    return HttpClientIfc::SUCCESS;
}

// The byte stream is out of step with the exchange after any failure, so the connection closes.
// An exchange fails once: a later step that notices the same failure says nothing more.
int HttpClientState::fail(const std::string& reason) {
    if (m_phase == Phase::Failed) {
        return HttpClientIfc::FAILURE;
    }
    const std::string limit = stream().limitReached();
    const std::string fullReason = limit.empty() ? reason : reason + " (" + limit + ")";
    logAppQel("Platform", "./platform/linux/HttpClient", 4, __LINE__, "HTTP exchange with %s:%s failed: %s",
              m_host.c_str(), m_port.c_str(), fullReason.c_str());
    linux_platform::detail::noteFailure(fullReason);
    m_phase = Phase::Failed;
    stream().close();
    stream().endExchange();
    return HttpClientIfc::FAILURE;
}

// ---- HttpClient ----

HttpClient::HttpClient() : m_state(new HttpClientState) {}

// The connection must still exist: an answer this client left unread closes it here.
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
    m_state->abandonExchange();
    if (connection == nullptr) {
        return FAILURE;
    }
    const std::string& host = m_state->hostFor(*connection);
    const std::string& port = m_state->portFor(*connection);
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
    return m_state->send(*connection, request, body, timeoutSeconds);
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
