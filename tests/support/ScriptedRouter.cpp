#include "ScriptedRouter.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>

#include "LinuxPlatform.h"

namespace testsupport {
namespace {

// Bounds that keep a misbehaving client or test from stalling the router for long.
constexpr std::size_t kMaxRequestHeadBytes = 64 * 1024;
constexpr std::size_t kMaxRequestBodyBytes = 16 * 1024 * 1024;
constexpr int kMaxDelayMs = 30 * 1000;
constexpr int kSendTimeoutMs = 10 * 1000;

bool equalsIgnoreCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

const std::string* findHeader(const HeaderList& headers, const std::string& name) {
    for (const auto& header : headers) {
        if (equalsIgnoreCase(header.first, name)) {
            return &header.second;
        }
    }
    return nullptr;
}

std::string reasonPhrase(int status) {
    switch (status) {
        case 100:
            return "Continue";
        case 200:
            return "OK";
        case 204:
            return "No Content";
        case 301:
            return "Moved Permanently";
        case 302:
            return "Found";
        case 303:
            return "See Other";
        case 304:
            return "Not Modified";
        case 307:
            return "Temporary Redirect";
        case 400:
            return "Bad Request";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 500:
            return "Internal Server Error";
        default:
            return "Status";
    }
}

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

// Parses the request line and header fields of a head without its blank line.
bool parseRequestHead(const std::string& head, ReceivedRequest& request) {
    std::size_t lineStart = head.find("\r\n");
    const std::string requestLine = head.substr(0, lineStart);
    const std::size_t methodEnd = requestLine.find(' ');
    const std::size_t targetEnd = requestLine.rfind(' ');
    if (methodEnd == std::string::npos || targetEnd <= methodEnd ||
        requestLine.compare(targetEnd + 1, 5, "HTTP/") != 0) {
        return false;
    }
    request.method = requestLine.substr(0, methodEnd);
    request.target = requestLine.substr(methodEnd + 1, targetEnd - methodEnd - 1);
    while (lineStart != std::string::npos) {
        const std::size_t lineEnd = head.find("\r\n", lineStart + 2);
        const std::string line = head.substr(lineStart + 2, lineEnd - lineStart - 2);
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || colon == 0) {
            return false;
        }
        request.headers.emplace_back(line.substr(0, colon), trimmed(line.substr(colon + 1)));
        lineStart = lineEnd;
    }
    return true;
}

std::size_t contentLengthOf(const ReceivedRequest& request) {
    const std::string value = request.header("Content-Length");
    const std::size_t length = value.empty() ? 0 : std::stoul(value);
    if (length > kMaxRequestBodyBytes) {
        throw std::length_error("request body too large");
    }
    return length;
}

std::string replyHead(const ScriptedReply& reply) {
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " +
                       (reply.reason.empty() ? reasonPhrase(reply.status) : reply.reason) + "\r\n";
    for (const auto& header : reply.headers) {
        head += header.first + ": " + header.second + "\r\n";
    }
    const bool framedByTest = findHeader(reply.headers, "Content-Length") != nullptr ||
                              findHeader(reply.headers, "Transfer-Encoding") != nullptr;
    if (!framedByTest && reply.framing == ScriptedReply::Framing::ContentLength) {
        head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    } else if (!framedByTest && reply.framing == ScriptedReply::Framing::Chunked) {
        head += "Transfer-Encoding: chunked\r\n";
    }
    if (reply.closeAfter || reply.framing == ScriptedReply::Framing::UntilClose) {
        head += "Connection: close\r\n";
    }
    return head + "\r\n";
}

std::string hexadecimal(std::size_t value) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    do {
        text.insert(text.begin(), kDigits[value % 16]);
        value /= 16;
    } while (value != 0);
    return text;
}

}  // namespace

std::string ReceivedRequest::header(const std::string& name) const {
    const std::string* value = findHeader(headers, name);
    return value != nullptr ? *value : std::string();
}

ScriptedRouter::ScriptedRouter(Handler handler) : m_handler(std::move(handler)) {
    m_listenFd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_listenFd < 0 || ::bind(m_listenFd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listenFd, 64) != 0 ||
        ::getsockname(m_listenFd, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        ::pipe2(m_stopPipe, O_CLOEXEC) != 0) {
        const std::error_code error(errno, std::system_category());
        if (m_listenFd >= 0) {
            ::close(m_listenFd);
        }
        throw std::system_error(error, "ScriptedRouter cannot listen on 127.0.0.1");
    }
    m_port = ntohs(address.sin_port);
    m_acceptThread = std::thread(&ScriptedRouter::acceptConnections, this);
}

ScriptedRouter::~ScriptedRouter() {
    const char stop = 's';
    while (::write(m_stopPipe[1], &stop, 1) < 0 && errno == EINTR) {
    }
    m_acceptThread.join();
    // No new connections after the accept thread ended; each thread closes its own socket.
    for (Connection& connection : m_connections) {
        connection.thread.join();
    }
    ::close(m_listenFd);
    ::close(m_stopPipe[0]);
    ::close(m_stopPipe[1]);
}

void ScriptedRouter::setHandler(Handler handler) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_handler = std::move(handler);
}

void ScriptedRouter::queueReply(ScriptedReply reply) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_queue.push_back(std::move(reply));
}

std::vector<ReceivedRequest> ScriptedRouter::requests() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

std::size_t ScriptedRouter::requestCount() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requestCount;
}

void ScriptedRouter::setKeepHistory(bool keep) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_keepHistory = keep;
}

std::size_t ScriptedRouter::connectionCount() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.size();
}

void ScriptedRouter::closeIdleConnections() {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (Connection& connection : m_connections) {
        if (connection.fd < 0) {
            continue;
        }
        if (connection.idle) {
            // Sends the FIN now; the serving thread sees the end of stream and closes the socket.
            ::shutdown(connection.fd, SHUT_RDWR);
        } else {
            connection.hangUpWhenIdle = true;
        }
    }
}

void ScriptedRouter::mapAs(const std::string& name, const std::string& port) const {
    linux_platform::mapHost(name, port, "127.0.0.1", std::to_string(m_port));
}

void ScriptedRouter::acceptConnections() {
    while (waitFor(m_listenFd, POLLIN, -1)) {
        const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0) {
            continue;
        }
        // A reply goes out as head and body; without this the body waits for the head's ACK.
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_connections.emplace_back();
        Connection& connection = m_connections.back();
        connection.fd = fd;
        connection.index = static_cast<int>(m_connections.size() - 1);
        connection.thread = std::thread(&ScriptedRouter::serve, this, std::ref(connection));
    }
}

void ScriptedRouter::serve(Connection& connection) {
    const int fd = connection.fd;
    std::string buffer;
    while (becomeIdle(connection)) {
        ReceivedRequest request;
        const bool received = readRequest(fd, buffer, request);
        becomeBusy(connection);
        if (!received) {
            break;
        }
        request.connectionIndex = connection.index;
        if (!sendReply(fd, request, replyFor(request))) {
            break;
        }
    }
    closeConnection(connection);
}

bool ScriptedRouter::readRequest(int fd, std::string& buffer, ReceivedRequest& request) const {
    std::size_t headEnd;
    while ((headEnd = buffer.find("\r\n\r\n")) == std::string::npos) {
        if (buffer.size() > kMaxRequestHeadBytes || !receiveSome(fd, buffer)) {
            return false;
        }
    }
    if (!parseRequestHead(buffer.substr(0, headEnd), request)) {
        return false;
    }
    const std::size_t bodyStart = headEnd + 4;
    std::size_t bodyLength = 0;
    try {
        bodyLength = contentLengthOf(request);
    } catch (const std::exception&) {
        return false;
    }
    while (buffer.size() < bodyStart + bodyLength) {
        if (!receiveSome(fd, buffer)) {
            return false;
        }
    }
    request.body = buffer.substr(bodyStart, bodyLength);
    buffer.erase(0, bodyStart + bodyLength);
    return true;
}

bool ScriptedRouter::receiveSome(int fd, std::string& buffer) const {
    for (;;) {
        char chunk[16 * 1024];
        const ssize_t received = ::recv(fd, chunk, sizeof chunk, 0);
        if (received > 0) {
            buffer.append(chunk, static_cast<std::size_t>(received));
            return true;
        }
        const bool retry =
            received < 0 && (errno == EINTR || ((errno == EAGAIN || errno == EWOULDBLOCK) && waitFor(fd, POLLIN, -1)));
        if (!retry) {
            return false;
        }
    }
}

ScriptedReply ScriptedRouter::replyFor(const ReceivedRequest& request) {
    Handler handler;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_requestCount;
        if (m_keepHistory) {
            m_requests.push_back(request);
        }
        if (!m_queue.empty()) {
            ScriptedReply reply = std::move(m_queue.front());
            m_queue.pop_front();
            return reply;
        }
        handler = m_handler;
    }
    if (handler) {
        return handler(request);
    }
    ScriptedReply notFound;
    notFound.status = 404;
    return notFound;
}

// False when the connection must end after this reply.
bool ScriptedRouter::sendReply(int fd, const ReceivedRequest& request, const ScriptedReply& reply) const {
    if ((reply.delayMs > 0 && !pause(reply.delayMs)) || reply.noAnswer) {
        return false;
    }
    if (!reply.raw.empty()) {
        return sendAll(fd, reply.raw.data(), reply.raw.size()) && !reply.closeAfter;
    }
    const std::string head = replyHead(reply);
    const bool withBody = request.method != "HEAD";
    return sendAll(fd, head.data(), head.size()) && (!withBody || sendBody(fd, reply)) && !reply.closeAfter &&
           reply.framing != ScriptedReply::Framing::UntilClose;
}

// Sends the body in the reply's framing; false when it was cut short on purpose or by the peer.
bool ScriptedRouter::sendBody(int fd, const ScriptedReply& reply) const {
    const std::string& body = reply.body;
    const std::size_t sendable = std::min(body.size(), reply.truncateBodyAt);
    if (reply.framing != ScriptedReply::Framing::Chunked) {
        const std::size_t step = reply.trickleMs > 0 ? 1 : std::max<std::size_t>(sendable, 1);
        for (std::size_t offset = 0; offset < sendable; offset += step) {
            if ((offset > 0 && !pause(reply.trickleMs)) || !sendAll(fd, body.data() + offset, step)) {
                return false;
            }
        }
        return sendable == body.size();
    }
    const std::size_t chunkSize = std::max<std::size_t>(reply.chunkSize, 1);
    for (std::size_t offset = 0; offset < body.size(); offset += chunkSize) {
        const std::size_t length = std::min(chunkSize, body.size() - offset);
        const std::string chunkHead = hexadecimal(length) + "\r\n";
        const std::size_t sentPart = offset < sendable ? std::min(length, sendable - offset) : 0;
        if (!sendAll(fd, chunkHead.data(), chunkHead.size()) || !sendAll(fd, body.data() + offset, sentPart) ||
            sentPart < length || !sendAll(fd, "\r\n", 2)) {
            return false;
        }
    }
    return sendAll(fd, "0\r\n\r\n", 5);
}

bool ScriptedRouter::sendAll(int fd, const char* data, std::size_t length) const {
    while (length > 0) {
        const ssize_t sent = ::send(fd, data, length, MSG_NOSIGNAL);
        if (sent > 0) {
            data += sent;
            length -= static_cast<std::size_t>(sent);
            continue;
        }
        const bool retry =
            sent < 0 &&
            (errno == EINTR || ((errno == EAGAIN || errno == EWOULDBLOCK) && waitFor(fd, POLLOUT, kSendTimeoutMs)));
        if (!retry) {
            return false;
        }
    }
    return true;
}

bool ScriptedRouter::waitFor(int fd, short events, int timeoutMs) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        int waitMs = -1;
        if (timeoutMs >= 0) {
            const auto left = deadline - std::chrono::steady_clock::now();
            waitMs = static_cast<int>(
                std::max<long long>(0, std::chrono::duration_cast<std::chrono::milliseconds>(left).count()));
        }
        // poll ignores a negative fd, which turns this into a plain wait for the stop signal.
        pollfd entries[2] = {{m_stopPipe[0], POLLIN, 0}, {fd, events, 0}};
        const int ready = ::poll(entries, 2, waitMs);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        return ready > 0 && entries[0].revents == 0;
    }
}

// Sleeps, but returns false at once when the router stops.
bool ScriptedRouter::pause(int milliseconds) const {
    waitFor(-1, 0, std::min(milliseconds, kMaxDelayMs));
    return !stopping();
}

bool ScriptedRouter::stopping() const {
    pollfd stop{m_stopPipe[0], POLLIN, 0};
    return ::poll(&stop, 1, 0) > 0;
}

bool ScriptedRouter::becomeIdle(Connection& connection) {
    std::lock_guard<std::mutex> lock(m_mutex);
    connection.idle = !connection.hangUpWhenIdle;
    return connection.idle;
}

void ScriptedRouter::becomeBusy(Connection& connection) {
    std::lock_guard<std::mutex> lock(m_mutex);
    connection.idle = false;
}

void ScriptedRouter::closeConnection(Connection& connection) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ::close(connection.fd);
    connection.fd = -1;
}

}  // namespace testsupport
