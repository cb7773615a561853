// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A scriptable HTTP/1.1 server standing in for the router in tests. It listens on 127.0.0.1 on an
// ephemeral port, serves each connection on its own thread with keep-alive, and answers every
// request with the next queued reply, else with the handler's. A request body over 1 MiB is not
// read: the connection ends after its head. Plain POSIX sockets, so it builds and runs wherever the
// platform library does (also on 32-bit ARM under qemu).
#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace testsupport {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

// Every field has an initializer, so that ScriptedReply{404} or {200, {}, "body"} builds without warnings.
struct ScriptedReply {
    int status = 200;
    HeaderList headers{};  // sent as given, before Content-Length
    std::string body{};
    bool closeAfter = false;           // hang up after the reply ("Connection: close" unless raw)
    std::optional<std::string> raw{};  // when set, sent verbatim instead of all of the above
    int paceMs = 0;                    // the reply's bytes one at a time, this far apart
    bool resetAfter = false;           // with closeAfter: hang up with a reset (RST), not an orderly end
};

struct ReceivedRequest {
    std::string method, target;
    HeaderList headers;
    std::string body;
    bool firstOnConnection = false;  // no request came on its connection before

    // The first header called `name` (compared without case); empty when there is none.
    std::string header(const std::string& name) const;
};

class ScriptedRouter {
public:
    using Handler = std::function<ScriptedReply(const ReceivedRequest&)>;

    // Without a handler every request is answered 404 (unless a reply is queued).
    explicit ScriptedRouter(Handler handler = {});
    // Hangs up every connection and stops all threads; never waits for a client.
    ~ScriptedRouter();

    int port() const { return m_port; }
    // Replies used in order, one per request, before the handler is asked.
    void queueReply(ScriptedReply reply) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queue.push_back(std::move(reply));
    }
    // Keeps every request for requests() (the default). Off, only the count is kept, so that a
    // router answering millions of requests in one process does not grow.
    void setKeepHistory(bool keep) { m_keepHistory = keep; }
    std::vector<ReceivedRequest> requests() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }
    std::size_t requestCount() const { return m_requestCount; }
    std::size_t connectionCount() const { return m_connectionCount; }
    // Maps `name`:`port` to this router for the platform's connections.
    void mapAs(const std::string& name = "fritz.box", const std::string& port = "80") const;

private:
    void acceptConnections();
    void serve(std::size_t connection, int fd);
    ScriptedReply replyFor(const ReceivedRequest& request);

    const Handler m_handler;
    int m_listenFd = -1;
    int m_port = 0;
    std::atomic<bool> m_keepHistory{true};
    std::atomic<std::size_t> m_requestCount{0}, m_connectionCount{0};
    mutable std::mutex m_mutex;  // guards everything below
    bool m_stopping = false;
    std::deque<ScriptedReply> m_queue;
    std::vector<ReceivedRequest> m_requests;
    std::vector<int> m_sockets;  // one per connection, -1 once it is closed
    std::vector<std::thread> m_threads;
    std::thread m_acceptThread;
};

}  // namespace testsupport
