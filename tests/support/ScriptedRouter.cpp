#include "ScriptedRouter.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <system_error>

#include "LinuxPlatform.h"

namespace testsupport {
namespace {

// Bounds that keep a misbehaving client or test from stalling the router for long.
constexpr std::size_t kMaxRequestHeadBytes = 64 * 1024;
constexpr std::size_t kMaxRequestBodyBytes = 16 * 1024 * 1024;

const std::string* findHeader(const HeaderList& headers, const std::string& name) {
    for (const auto& header : headers) {
        if (::strcasecmp(header.first.c_str(), name.c_str()) == 0) {
            return &header.second;
        }
    }
    return nullptr;
}

// Parses a request head whose every line ends in CR LF, without its blank line.
bool parseRequestHead(const std::string& head, ReceivedRequest& request) {
    std::istringstream lines(head);
    std::string line;
    std::getline(lines, line);
    const std::size_t methodEnd = line.find(' ');
    const std::size_t targetEnd = line.rfind(' ');
    request.method = line.substr(0, methodEnd);
    request.target = line.substr(methodEnd + 1, targetEnd - methodEnd - 1);
    const bool requestLine = methodEnd < targetEnd && line.compare(targetEnd + 1, 5, "HTTP/") == 0;
    while (std::getline(lines, line)) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || colon == 0) {
            return false;
        }
        std::string value = line.substr(colon + 1, line.size() - colon - 2);
        value.erase(0, value.find_first_not_of(" \t"));
        request.headers.emplace_back(line.substr(0, colon), value);
    }
    return requestLine;
}

std::string chunked(const std::string& body, std::size_t chunkSize) {
    std::string encoded;
    for (std::size_t offset = 0; offset < body.size(); offset += chunkSize) {
        const std::size_t length = std::min(chunkSize, body.size() - offset);
        char size[32];
        std::snprintf(size, sizeof size, "%zx\r\n", length);
        encoded.append(size).append(body, offset, length).append("\r\n");
    }
    return encoded + "0\r\n\r\n";
}

// The reply's bytes on the wire: its raw bytes, or head and body in the reply's framing.
std::string wireBytes(const ScriptedReply& reply) {
    if (reply.raw) {
        return *reply.raw;
    }
    using Framing = ScriptedReply::Framing;
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " Scripted\r\n";
    for (const auto& header : reply.headers) {
        head += header.first + ": " + header.second + "\r\n";
    }
    if (reply.framing == Framing::ContentLength) {
        head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    } else if (reply.framing == Framing::Chunked) {
        head += "Transfer-Encoding: chunked\r\n";
    }
    if (reply.closeAfter || reply.framing == Framing::UntilClose) {
        head += "Connection: close\r\n";
    }
    head += "\r\n";
    const std::size_t chunkSize = std::max<std::size_t>(reply.chunkSize, 1);
    return head + (reply.framing == Framing::Chunked ? chunked(reply.body, chunkSize) : reply.body);
}

}  // namespace

std::string ReceivedRequest::header(const std::string& name) const {
    const std::string* value = findHeader(headers, name);
    return value != nullptr ? *value : std::string();
}

ScriptedRouter::ScriptedRouter(Handler handler) : m_handler(std::move(handler)) {
    m_listenFd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_listenFd < 0 || ::bind(m_listenFd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listenFd, 64) != 0 ||
        ::getsockname(m_listenFd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        const std::error_code error(errno, std::system_category());
        ::close(m_listenFd);
        throw std::system_error(error, "ScriptedRouter cannot listen on 127.0.0.1");
    }
    m_port = ntohs(address.sin_port);
    m_acceptThread = std::thread(&ScriptedRouter::acceptConnections, this);
}

// Shutting a socket down wakes the thread blocked on it; a connection accepted after m_stopping
// is set is closed at once, so every thread ends.
ScriptedRouter::~ScriptedRouter() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_stopped.notify_all();
    ::shutdown(m_listenFd, SHUT_RDWR);
    m_acceptThread.join();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (Connection& connection : m_connections) {
            if (connection.fd >= 0) {
                ::shutdown(connection.fd, SHUT_RDWR);
            }
        }
    }
    for (Connection& connection : m_connections) {
        connection.thread.join();
    }
    ::close(m_listenFd);
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
        if (connection.fd >= 0 && connection.idle) {
            // Sends the FIN now; the serving thread sees the end of stream and closes the socket.
            ::shutdown(connection.fd, SHUT_RDWR);
        }
        connection.hangUpWhenIdle = !connection.idle;
    }
}

void ScriptedRouter::mapAs(const std::string& name, const std::string& port) const {
    linux_platform::mapHost(name, port, "127.0.0.1", std::to_string(m_port));
}

void ScriptedRouter::acceptConnections() {
    for (;;) {
        const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0 && errno == EINTR) {
            continue;
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        if (fd < 0 || m_stopping) {
            ::close(fd);
            return;
        }
        // A paced reply goes out byte by byte; without this each byte waits for the last one's ACK.
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_connections.emplace_back();
        m_connections.back().fd = fd;
        m_connections.back().thread = std::thread(&ScriptedRouter::serve, this, std::ref(m_connections.back()));
    }
}

void ScriptedRouter::serve(Connection& connection) {
    const int fd = connection.fd;
    std::string buffer;
    while (becomeIdle(connection)) {
        ReceivedRequest request;
        const bool received = readRequest(fd, buffer, request);
        becomeBusy(connection);
        if (!received || !sendReply(fd, replyFor(request))) {
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
    if (!parseRequestHead(buffer.substr(0, headEnd + 2), request)) {
        return false;
    }
    const std::size_t bodyStart = headEnd + 4;
    const std::size_t bodyLength = std::strtoul(request.header("Content-Length").c_str(), nullptr, 10);
    if (bodyLength > kMaxRequestBodyBytes) {
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
    char chunk[16 * 1024];
    ssize_t received;
    while ((received = ::recv(fd, chunk, sizeof chunk, 0)) < 0 && errno == EINTR) {
    }
    buffer.append(chunk, received > 0 ? static_cast<std::size_t>(received) : 0);
    return received > 0;
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
bool ScriptedRouter::sendReply(int fd, const ScriptedReply& reply) const {
    const std::string bytes = wireBytes(reply);
    const std::size_t step = reply.paceMs > 0 ? 1 : std::max<std::size_t>(bytes.size(), 1);
    for (std::size_t offset = 0; offset < bytes.size(); offset += step) {
        if ((offset > 0 && !pause(reply.paceMs)) || !sendAll(fd, bytes.data() + offset, step)) {
            return false;
        }
    }
    return !reply.closeAfter && reply.framing != ScriptedReply::Framing::UntilClose;
}

bool ScriptedRouter::sendAll(int fd, const char* data, std::size_t length) const {
    while (length > 0) {
        const ssize_t sent = ::send(fd, data, length, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
        data += sent;
        length -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool ScriptedRouter::pause(int milliseconds) const {
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_stopped.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_stopping; });
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
