// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

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
#include <cstdlib>
#include <system_error>

#include "LinuxPlatform.h"
#include "RouterRequest.h"

namespace testsupport {
namespace {

constexpr std::size_t kMaxRequestBodyBytes = 1u << 20;

// Appends what arrives next; false at the end of the stream (also after the router's shutdown).
bool receiveSome(int fd, std::string& buffer) {
    char chunk[16 * 1024];
    ssize_t received;
    while ((received = ::recv(fd, chunk, sizeof chunk, 0)) < 0 && errno == EINTR) {
    }
    buffer.append(chunk, received > 0 ? static_cast<std::size_t>(received) : 0);
    return received > 0;
}

// Takes one request (its head, then Content-Length body bytes) from the front of `buffer`,
// receiving more as needed; false when the connection ends first.
bool readRequest(int fd, std::string& buffer, ReceivedRequest& request) {
    std::size_t headEnd;
    while ((headEnd = buffer.find("\r\n\r\n")) == std::string::npos) {
        if (!receiveSome(fd, buffer)) {
            return false;
        }
    }
    routersim::RequestHead head;
    if (!routersim::parseRequestHead(buffer.substr(0, headEnd), head)) {
        return false;  // no HTTP request: the connection ends
    }
    request = {head.method, head.target, head.fields, {}, false};
    const std::size_t bodyLength = std::strtoul(request.header("Content-Length").c_str(), nullptr, 10);
    if (bodyLength > kMaxRequestBodyBytes) {
        return false;  // refused unread, as a router's small web server does
    }
    const std::size_t bodyEnd = headEnd + 4 + bodyLength;
    while (buffer.size() < bodyEnd) {
        if (!receiveSome(fd, buffer)) {
            return false;
        }
    }
    request.body = buffer.substr(headEnd + 4, bodyEnd - headEnd - 4);
    buffer.erase(0, bodyEnd);
    return true;
}

std::string wireBytes(const ScriptedReply& reply) {
    if (reply.raw) {
        return *reply.raw;
    }
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " Scripted\r\n";
    for (const auto& [name, value] : reply.headers) {
        head += name + ": " + value + "\r\n";
    }
    head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    return head + (reply.closeAfter ? "Connection: close\r\n\r\n" : "\r\n") + reply.body;
}

// All bytes at once, or one at a time paceMs apart; false when the client is gone.
bool sendReply(int fd, const ScriptedReply& reply) {
    const std::string bytes = wireBytes(reply);
    for (std::size_t sent = 0; sent < bytes.size();) {
        if (sent > 0 && reply.paceMs > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(reply.paceMs));
        }
        const ssize_t now = ::send(fd, bytes.data() + sent, reply.paceMs > 0 ? 1 : bytes.size() - sent, MSG_NOSIGNAL);
        if (now <= 0 && errno != EINTR) {
            return false;
        }
        sent += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    return true;
}

}  // namespace

std::string ReceivedRequest::header(const std::string& name) const {
    const auto found = std::find_if(headers.begin(), headers.end(), [&](const auto& field) {
        return ::strcasecmp(field.first.c_str(), name.c_str()) == 0;
    });
    return found == headers.end() ? "" : found->second;
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
        throw std::system_error(errno, std::system_category(), "ScriptedRouter cannot listen on 127.0.0.1");
    }
    m_port = ntohs(address.sin_port);
    m_acceptThread = std::thread(&ScriptedRouter::acceptConnections, this);
}

// Shutting a socket down wakes the thread blocked on it (a paced reply's next send fails); a
// connection accepted after m_stopping is set is closed at once, so every thread ends.
ScriptedRouter::~ScriptedRouter() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        for (const int fd : m_sockets) {
            ::shutdown(fd, SHUT_RDWR);
        }
    }
    ::shutdown(m_listenFd, SHUT_RDWR);
    m_acceptThread.join();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    ::close(m_listenFd);
}

void ScriptedRouter::mapAs(const std::string& name, const std::string& port) const {
    linux_platform::mapHost(name, port, "127.0.0.1", std::to_string(m_port));
}

void ScriptedRouter::acceptConnections() {
    for (;;) {
        int fd;
        while ((fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC)) < 0 && errno == EINTR) {
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        if (fd < 0 || m_stopping) {
            ::close(fd);
            return;
        }
        // A paced reply goes out byte by byte; without this each byte waits for the last one's ACK.
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_sockets.push_back(fd);
        ++m_connectionCount;
        m_threads.emplace_back(&ScriptedRouter::serve, this, m_sockets.size() - 1, fd);
    }
}

void ScriptedRouter::serve(std::size_t connection, int fd) {
    ReceivedRequest request;
    std::size_t served = 0;
    for (std::string buffer; readRequest(fd, buffer, request); ++served) {
        request.firstOnConnection = served == 0;
        const ScriptedReply reply = replyFor(request);
        if (!sendReply(fd, reply) || reply.closeAfter) {
            const linger abort{reply.resetAfter ? 1 : 0, 0};  // lingering for 0 s makes close() reset
            ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
            break;
        }
    }
    // Under the lock, so that the destructor never shuts down a number the system gave out anew.
    std::lock_guard<std::mutex> lock(m_mutex);
    ::close(fd);
    m_sockets[connection] = -1;
}

ScriptedReply ScriptedRouter::replyFor(const ReceivedRequest& request) {
    ++m_requestCount;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_keepHistory) {
            m_requests.push_back(request);
        }
        if (!m_queue.empty()) {
            ScriptedReply reply = std::move(m_queue.front());
            m_queue.pop_front();
            return reply;
        }
    }
    return m_handler ? m_handler(request) : ScriptedReply{404};
}

}  // namespace testsupport
