#pragma once
// A scriptable HTTP/1.1 server standing in for the router in tests. It listens on 127.0.0.1 on an
// ephemeral port, serves each connection on its own thread with keep-alive, and answers every
// request with the next queued reply, else with the handler's. Plain POSIX sockets, so it builds
// and runs wherever the platform library does (also on 32-bit ARM).
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace testsupport {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

struct ScriptedReply {
    enum class Framing { ContentLength, Chunked, UntilClose };

    int status = 200;
    HeaderList headers;  // sent as given, before the router's framing header
    std::string body;
    Framing framing = Framing::ContentLength;
    std::size_t chunkSize = 4096;    // payload bytes per chunk with Framing::Chunked
    bool closeAfter = false;         // hang up after the reply ("Connection: close" unless raw)
    std::optional<std::string> raw;  // when set, sent verbatim instead of all of the above
    int paceMs = 0;                  // the reply's bytes one at a time, this far apart
};

struct ReceivedRequest {
    std::string method;
    std::string target;
    HeaderList headers;
    std::string body;

    // The first header called `name` (compared without case); empty when there is none.
    std::string header(const std::string& name) const;
};

class ScriptedRouter {
public:
    using Handler = std::function<ScriptedReply(const ReceivedRequest&)>;

    // Without a handler every request is answered 404 (unless a reply is queued).
    explicit ScriptedRouter(Handler handler = {});
    // Stops all threads and closes all sockets; never waits for a client.
    ~ScriptedRouter();
    ScriptedRouter(const ScriptedRouter&) = delete;
    ScriptedRouter& operator=(const ScriptedRouter&) = delete;

    int port() const { return m_port; }
    void setHandler(Handler handler);
    // Replies used in order, one per request, before the handler is asked.
    void queueReply(ScriptedReply reply);

    // Keeps every request for requests() (the default). Off, only the count is kept, so that a
    // router answering millions of requests in one process does not grow.
    void setKeepHistory(bool keep);
    std::vector<ReceivedRequest> requests() const;
    std::size_t requestCount() const;
    std::size_t connectionCount() const;

    // Hangs up every kept connection, like a router dropping them: at once when it waits for its
    // next request, else as soon as its current reply is out.
    void closeIdleConnections();
    // Maps `name`:`port` to this router for the platform's connections.
    void mapAs(const std::string& name = "fritz.box", const std::string& port = "80") const;

private:
    struct Connection {
        int fd = -1;
        bool idle = false;            // waiting for its next request
        bool hangUpWhenIdle = false;  // closeIdleConnections() came while a reply was on its way
        std::thread thread;
    };

    void acceptConnections();
    void serve(Connection& connection);
    bool readRequest(int fd, std::string& buffer, ReceivedRequest& request) const;
    bool receiveSome(int fd, std::string& buffer) const;
    ScriptedReply replyFor(const ReceivedRequest& request);
    bool sendReply(int fd, const ScriptedReply& reply) const;
    bool sendAll(int fd, const char* data, std::size_t length) const;
    // Sleeps; false when the router stops meanwhile.
    bool pause(int milliseconds) const;
    // Marks the connection as waiting for a request; false when it is to be hung up instead.
    bool becomeIdle(Connection& connection);
    void becomeBusy(Connection& connection);
    void closeConnection(Connection& connection);

    int m_listenFd = -1;
    int m_port = 0;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_stopped;
    bool m_stopping = false;
    Handler m_handler;
    std::deque<ScriptedReply> m_queue;
    std::vector<ReceivedRequest> m_requests;
    std::size_t m_requestCount = 0;
    bool m_keepHistory = true;
    std::list<Connection> m_connections;
    std::thread m_acceptThread;
};

}  // namespace testsupport
