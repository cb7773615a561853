// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "RouterSimulator.h"

#include <httplib.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "ConnectionTracker.h"

namespace routersim {
namespace {

// The phone logs in and fetches on one kept-alive connection; these bound how long and how
// often a connection is reused, like a small embedded web server does.
constexpr std::size_t kKeepAliveMaxCount = 100;
constexpr int kKeepAliveTimeoutSeconds = 5;

std::string peerOf(const httplib::Request& req) {
    return req.remote_addr + ":" + std::to_string(req.remote_port);
}

std::string hostAndPort(const std::string& address, int port) {
    const bool ipv6 = address.find(':') != std::string::npos;
    return (ipv6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

// The bound port, or -1 when the address cannot be bound; port 0 picks a free one.
int bindPort(httplib::Server& server, const std::string& address, int port) {
    if (port == 0) {
        return server.bind_to_any_port(address);
    }
    return server.bind_to_port(address, port) ? port : -1;
}

// The model's view of the request. httplib has read a multipart body into its parts already, so
// those come from there; the query and a URL-encoded body are read as the model reads them.
RouterRequest modelRequest(const httplib::Request& req) {
    const std::string contentType = req.get_header_value("Content-Type");
    RouterRequest request = parseRequest(req.method, req.target, contentType, req.body);
    for (const auto& [name, part] : req.files) {
        request.formParts.emplace(name, part.content);
    }
    request.peer = peerOf(req);
    return request;
}

// httplib keeps a connection open or not from the request alone; a "Connection: close" header
// set by a handler is sent but leaves the socket open. A content provider that fails after
// writing the whole body makes httplib drop the connection once the answer is out, which is
// what a server announcing "Connection: close" does. The Content-Length header is already set.
void closeConnectionAfterAnswer(httplib::Response& res) {
    res.headers.erase("Keep-Alive");
    res.set_header("Connection", "close");
    const std::string contentType = res.get_header_value("Content-Type");
    res.headers.erase("Content-Type");
    std::string body = std::move(res.body);
    res.body.clear();
    res.set_content_provider(contentType, [body](std::size_t, httplib::DataSink& sink) {
        sink.write(body.data(), body.size());
        return false;
    });
}

}  // namespace

class RouterSimulator::Impl {
public:
    Impl(RouterData data, SimulatorOptions options, bool verbose)
        : m_model(std::move(data), std::move(options)),
          m_verbose(verbose),
          m_connections(std::chrono::seconds(kKeepAliveTimeoutSeconds)) {}

    ~Impl() { stop(); }

    int start(const std::string& address, int port);
    void stop();
    RouterModel& model() { return m_model; }

private:
    void configure(httplib::Server& server);
    void answer(const httplib::Request& req, httplib::Response& res);
    bool noteRequest(const httplib::Request& req);
    void waitOrStop(int delayMs);
    void afterAnswer(const httplib::Request& req, const httplib::Response& res);

    RouterModel m_model;
    const bool m_verbose;
    // Guards the connection tracker and the stop flag; the model guards itself.
    std::mutex m_mutex;
    // A delayed answer waits on this, so that stopping never waits for the delay to run out.
    std::condition_variable m_stopping;
    bool m_stopRequested = false;
    ConnectionTracker m_connections;

    std::unique_ptr<httplib::Server> m_server;
    std::thread m_serverThread;
    std::atomic<bool> m_listenEnded{false};
};

int RouterSimulator::Impl::start(const std::string& address, int port) {
    if (m_server) {
        throw std::logic_error("router simulator: already running");
    }
    if (port < 0 || port > 65535) {
        throw std::runtime_error("router simulator: port out of range: " + std::to_string(port));
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopRequested = false;
    }
    auto server = std::make_unique<httplib::Server>();
    configure(*server);
    errno = 0;
    const int boundPort = bindPort(*server, address, port);
    if (boundPort < 0) {
        // httplib only says that binding failed; the socket call's errno, when it survived, says why.
        const std::string reason =
            errno != 0 ? std::string(": ") + std::strerror(errno) : ": not an address of this machine";
        throw std::runtime_error("cannot listen on " + hostAndPort(address, port) + reason);
    }
    m_model.setOwnHost(hostAndPort(address, boundPort));
    m_server = std::move(server);
    m_listenEnded = false;
    m_serverThread = std::thread([this] {
        m_server->listen_after_bind();
        m_listenEnded = true;
    });
    // httplib's stop() does nothing until the accept loop runs, so stop() must not come earlier;
    // an accept loop that fails ends without ever running, which must not be waited for forever.
    while (!m_server->is_running() && !m_listenEnded) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (!m_server->is_running()) {
        m_serverThread.join();
        m_server.reset();
        throw std::runtime_error("cannot accept connections on " + hostAndPort(address, boundPort));
    }
    return boundPort;
}

void RouterSimulator::Impl::stop() {
    if (!m_server) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopRequested = true;
    }
    m_stopping.notify_all();
    m_server->stop();
    m_serverThread.join();
    m_server.reset();
}

void RouterSimulator::Impl::configure(httplib::Server& server) {
    server.set_keep_alive_max_count(kKeepAliveMaxCount);
    server.set_keep_alive_timeout(kKeepAliveTimeoutSeconds);
    // httplib writes an answer's head and body separately; without this, Nagle's algorithm and
    // the peer's delayed ACK hold every body back for tens of milliseconds.
    server.set_tcp_nodelay(true);
    // httplib's default also sets SO_REUSEPORT, which lets a second simulator bind a port that
    // is in use; SO_REUSEADDR alone still allows a quick restart on the same port.
    server.set_socket_options([](socket_t sock) {
        const int on = 1;
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
    // Every request goes to the model, whatever its method and path; a handler (unlike a
    // pre-routing one) sees the body already read.
    const auto toModel = [this](const httplib::Request& req, httplib::Response& res) { answer(req, res); };
    server.Get(".*", toModel);
    server.Post(".*", toModel);
    server.Put(".*", toModel);
    server.Delete(".*", toModel);
    server.Options(".*", toModel);
    server.Patch(".*", toModel);
    server.set_logger([this](const auto& req, const auto& res) { afterAnswer(req, res); });
}

void RouterSimulator::Impl::answer(const httplib::Request& req, httplib::Response& res) {
    RouterRequest request = modelRequest(req);
    request.newConnection = noteRequest(req);
    const RouterReply reply = m_model.answer(request);
    waitOrStop(reply.delayMs);
    res.status = reply.status;
    for (const auto& [name, value] : reply.headers) {
        res.set_header(name, value);
    }
    if (!reply.contentType.empty() || !reply.body.empty()) {
        res.set_content(reply.body, reply.contentType.empty() ? "text/plain" : reply.contentType);
    }
    if (reply.closeConnection) {
        closeConnectionAfterAnswer(res);
    }
}

// True when the request came on a connection that carried none before.
bool RouterSimulator::Impl::noteRequest(const httplib::Request& req) {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.noteRequest(peerOf(req), Clock::now());
}

void RouterSimulator::Impl::waitOrStop(int delayMs) {
    if (delayMs > 0) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_stopping.wait_for(lock, std::chrono::milliseconds(delayMs), [this] { return m_stopRequested; });
    }
}

void RouterSimulator::Impl::afterAnswer(const httplib::Request& req, const httplib::Response& res) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_connections.noteAnswer(peerOf(req), Clock::now());
    }
    if (m_verbose) {
        std::fprintf(stderr, "%s %s -> %d\n", req.method.c_str(), req.target.c_str(), res.status);
    }
}

RouterSimulator::RouterSimulator(RouterData data, SimulatorOptions options, bool verbose)
    : m_impl(std::make_unique<Impl>(std::move(data), std::move(options), verbose)) {}

RouterSimulator::~RouterSimulator() = default;

int RouterSimulator::start(const std::string& address, int port) {
    return m_impl->start(address, port);
}
void RouterSimulator::stop() {
    m_impl->stop();
}
SimulatorStats RouterSimulator::stats() const {
    return m_impl->model().stats();
}
void RouterSimulator::resetStats() {
    m_impl->model().resetStats();
}
void RouterSimulator::setFaults(const Faults& faults) {
    m_impl->model().setFaults(faults);
}
std::string RouterSimulator::listeningOn() const {
    return m_impl->model().ownHost();
}

}  // namespace routersim
