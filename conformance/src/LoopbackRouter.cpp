// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "LoopbackRouter.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "Adapter.h"
#include "Descriptors.h"
#include "Runner.h"

namespace conformance {

namespace {

// ---- the record of what the router saw, as it crosses the pipe: fields as "<length>:<bytes>"

void putField(std::string& out, const std::string& field) {
    out += std::to_string(field.size()) + ":" + field;
}

std::string takeField(const std::string& in, std::size_t& at) {
    const std::size_t colon = in.find(':', at);
    const std::size_t length = std::stoul(in.substr(at, colon - at));
    at = colon + 1 + length;
    return in.substr(colon + 1, length);
}

void putEvent(std::string& out, const RouterEvent& event) {
    out += static_cast<char>(event.kind);
    putField(out, std::to_string(event.connection));
    putField(out, event.host);
    putField(out, event.request.method);
    putField(out, event.request.target);
    putField(out, event.request.version);
    std::string headers;
    for (const auto& [name, value] : event.request.headers) {
        putField(headers, name);
        putField(headers, value);
    }
    putField(out, headers);
    putField(out, event.request.body);
}

RouterEvent takeEvent(const std::string& in, std::size_t& at) {
    RouterEvent event{static_cast<RouterEvent::Kind>(in[at++]), 0, "", {}};
    event.connection = std::stoi(takeField(in, at));
    event.host = takeField(in, at);
    event.request.method = takeField(in, at);
    event.request.target = takeField(in, at);
    event.request.version = takeField(in, at);
    const std::string headers = takeField(in, at);
    for (std::size_t inner = 0; inner < headers.size();) {
        std::string name = takeField(headers, inner);
        event.request.headers.emplace_back(std::move(name), takeField(headers, inner));
    }
    event.request.body = takeField(in, at);
    return event;
}

// ---- the serving process

struct Connection {
    int fd;
    int number;
    std::string host;
    std::string in, out;
    HttpReply::Ending ending = HttpReply::Ending::Keep;
};

class RouterProcess {
public:
    RouterProcess(std::vector<std::pair<int, std::string>> listeners, RouterScript script, int commands, int answers)
        : m_listeners(std::move(listeners)), m_model(std::move(script)), m_commands(commands), m_answers(answers) {}

    [[noreturn]] void serve() {
        for (;;) {
            std::vector<pollfd> waiting{{m_commands, POLLIN, 0}};
            for (const auto& listener : m_listeners) {
                waiting.push_back({listener.first, POLLIN, 0});
            }
            for (const Connection& connection : m_connections) {
                waiting.push_back({connection.fd, static_cast<short>(connection.out.empty() ? POLLIN : POLLOUT), 0});
            }
            if (::poll(waiting.data(), waiting.size(), -1) < 0) {
                continue;
            }
            if (waiting[0].revents != 0) {
                answerCommand();
            }
            for (std::size_t i = 0; i < m_listeners.size(); ++i) {
                if (waiting[1 + i].revents != 0) {
                    accept(m_listeners[i]);
                }
            }
            // Connections accepted above are at the end, past the ones polled.
            for (std::size_t i = waiting.size() - 1 - m_listeners.size(); i-- > 0;) {
                if (waiting[1 + m_listeners.size() + i].revents != 0) {
                    serviceConnection(i);
                }
            }
        }
    }

private:
    void record(RouterEvent::Kind kind, const Connection& connection, const HttpRequest& request = {}) {
        putEvent(m_events, {kind, connection.number, connection.host, request});
    }

    // The check asks for the events; the pipe ending means the check is gone.
    void answerCommand() {
        char command;
        if (::read(m_commands, &command, 1) != 1) {
            ::_exit(0);
        }
        writeAll(m_answers, std::to_string(m_events.size()) + "\n" + m_events);
        m_events.clear();
    }

    void accept(const std::pair<int, std::string>& listener) {
        const int fd = ::accept4(listener.first, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd >= 0) {
            m_connections.push_back({fd, m_accepted++, listener.second, "", "", HttpReply::Ending::Keep});
            record(RouterEvent::Accepted, m_connections.back());
        }
    }

    void serviceConnection(std::size_t index) {
        Connection& connection = m_connections[index];
        const bool open = connection.out.empty() ? receive(connection) : transmit(connection);
        if (!open) {
            ::close(connection.fd);
            m_connections.erase(m_connections.begin() + static_cast<std::ptrdiff_t>(index));
        }
    }

    // False when the connection is over.
    bool receive(Connection& connection) {
        char buffer[64 * 1024];
        const ssize_t got = ::recv(connection.fd, buffer, sizeof buffer, 0);
        if (got <= 0) {
            if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
                return true;
            }
            record(RouterEvent::ClientEnd, connection);
            return false;
        }
        if (connection.ending == HttpReply::Ending::Silent) {
            return true;
        }
        connection.in.append(buffer, static_cast<std::size_t>(got));
        return answerNext(connection);
    }

    // Answers the next request already received, if there is one; false when the connection is over.
    bool answerNext(Connection& connection) {
        HttpRequest request;
        bool malformed = false;
        if (takeRequest(connection.in, request, malformed)) {
            record(RouterEvent::Request, connection, request);
            const HttpReply reply = m_model.answer(request, connection.host);
            connection.ending = reply.ending;
            if (reply.ending == HttpReply::Ending::Silent) {
                return true;
            }
            connection.out = wireBytes(reply);
            return transmit(connection);
        }
        if (malformed) {
            record(RouterEvent::Malformed, connection);
        }
        return !malformed;
    }

    // False when the reply is out and it ends the connection.
    bool transmit(Connection& connection) {
        const ssize_t sent = ::send(connection.fd, connection.out.data(), connection.out.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EAGAIN || errno == EINTR) {
                return true;
            }
            record(RouterEvent::ClientEnd, connection);
            return false;
        }
        connection.out.erase(0, static_cast<std::size_t>(sent));
        if (!connection.out.empty()) {
            return true;
        }
        if (connection.ending == HttpReply::Ending::Keep) {
            return answerNext(connection);
        }
        if (connection.ending == HttpReply::Ending::Reset) {
            const linger abort{1, 0};  // lingering for 0 s makes close() reset
            ::setsockopt(connection.fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        }
        record(RouterEvent::RouterEnd, connection);
        return false;
    }

    std::vector<std::pair<int, std::string>> m_listeners;
    KitRouter m_model;
    int m_commands, m_answers;
    std::vector<Connection> m_connections;
    int m_accepted = 0;
    std::string m_events;
};

// ---- where the router listens

// A listening socket on `address`:`port` (0: any free port); -1 with `error` set when it cannot.
int listenOn(const char* address, int port, std::string& error) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(static_cast<std::uint16_t>(port));
    ::inet_pton(AF_INET, address, &where.sin_addr);
    if (fd < 0 || ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(fd, reinterpret_cast<sockaddr*>(&where), sizeof where) != 0 || ::listen(fd, 64) != 0) {
        error = std::string(address) + ":" + std::to_string(port) + ": " + std::strerror(errno);
        ::close(fd);
        return -1;
    }
    return fd;
}

int portOf(int fd) {
    sockaddr_in where{};
    socklen_t length = sizeof where;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&where), &length);
    return ntohs(where.sin_port);
}

// Without host mapping the names must already lead to these addresses (a hosts file).
void requireHostsEntry(const char* name, const char* address) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    char text[INET_ADDRSTRLEN] = "";
    if (::getaddrinfo(name, "80", &hints, &found) == 0) {
        ::inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr, text, sizeof text);
        ::freeaddrinfo(found);
    }
    if (std::string(text) != address) {
        skip(std::string("the setup: ") + name + " must resolve to " + address +
             " (a hosts entry) when the adapter cannot map host names; it resolves to " +
             (*text != '\0' ? text : "nothing"));
    }
}

const char* const kHosts[] = {kRouterHost, kOtherHost};
const char* const kHostAddresses[] = {"127.0.0.1", "127.0.0.2"};

std::vector<std::pair<int, std::string>> openListeners(const Context& context) {
    std::vector<std::pair<int, std::string>> listeners;
    std::string error;
    for (int i = 0; i < 2; ++i) {
        const int fd = listenOn("127.0.0.1", 0, error);
        if (fd < 0 || !context.adapter.mapHost(kHosts[i], "127.0.0.1", portOf(fd))) {
            ::close(fd);
            break;
        }
        listeners.emplace_back(fd, kHosts[i]);
    }
    if (listeners.size() == 2) {
        return listeners;
    }
    for (const auto& listener : listeners) {
        ::close(listener.first);
    }
    listeners.clear();
    for (int i = 0; i < 2; ++i) {
        requireHostsEntry(kHosts[i], kHostAddresses[i]);
        const int fd = listenOn(kHostAddresses[i], 80, error);
        if (fd < 0) {
            skip("the setup: the kit's router must be able to listen on " + error);
        }
        listeners.emplace_back(fd, kHosts[i]);
    }
    return listeners;
}

}  // namespace

LoopbackRouter::LoopbackRouter(const Context& context, RouterScript script) {
    const auto listeners = openListeners(context);
    int commands[2], answers[2];
    if (::pipe2(commands, O_CLOEXEC) != 0 || ::pipe2(answers, O_CLOEXEC) != 0) {
        fail("pipes for the kit's router", std::strerror(errno));
    }
    m_pid = ::fork();
    if (m_pid == 0) {
        closeVerdictChannel();
        ::close(commands[1]);
        ::close(answers[0]);
        RouterProcess(listeners, std::move(script), commands[0], answers[1]).serve();
    }
    for (const auto& listener : listeners) {
        ::close(listener.first);
    }
    ::close(commands[0]);
    ::close(answers[1]);
    m_commands = commands[1];
    m_answers = answers[0];
}

LoopbackRouter::~LoopbackRouter() {
    ::close(m_commands);
    ::close(m_answers);
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

std::vector<RouterEvent> LoopbackRouter::events() {
    std::string line, payload;
    char byte = 0;
    if (!writeAll(m_commands, "?")) {
        fail("the kit's router running", "it is gone");
    }
    while (::read(m_answers, &byte, 1) == 1 && byte != '\n') {
        line += byte;
    }
    if (byte != '\n' || !readExactly(m_answers, payload, std::stoul(line))) {
        fail("the kit's router answering", "it is gone");
    }
    for (std::size_t at = 0; at < payload.size();) {
        m_seen.push_back(takeEvent(payload, at));
    }
    return m_seen;
}

std::vector<HttpRequest> LoopbackRouter::requests() {
    std::vector<HttpRequest> requests;
    for (const RouterEvent& event : events()) {
        if (event.kind == RouterEvent::Request) {
            requests.push_back(event.request);
        }
    }
    return requests;
}

long long LoopbackRouter::connections() {
    const std::vector<RouterEvent> seen = events();
    return std::count_if(seen.begin(), seen.end(),
                         [](const RouterEvent& event) { return event.kind == RouterEvent::Accepted; });
}

bool LoopbackRouter::waitFor(RouterEvent::Kind kind, int connection, unsigned seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    for (;;) {
        for (const RouterEvent& event : events()) {
            if (event.kind == kind && event.connection == connection) {
                return true;
            }
        }
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

RefusingHost::RefusingHost(const Context& context, std::string name) : m_name(std::move(name)) {
    // A bound socket that does not listen: connecting to its port is refused.
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if ((m_fd < 0 || ::bind(m_fd, reinterpret_cast<sockaddr*>(&where), sizeof where) != 0 ||
         !context.adapter.mapHost(m_name, "127.0.0.1", portOf(m_fd))) &&
        m_name != kRouterHost) {
        m_name = "127.0.0.3";
    }
}

RefusingHost::~RefusingHost() {
    ::close(m_fd);
}

}  // namespace conformance
