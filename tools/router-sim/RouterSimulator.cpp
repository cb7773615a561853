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
#include <optional>
#include <stdexcept>
#include <thread>

#include "Authenticator.h"
#include "ConnectionTracker.h"
#include "Pages.h"

namespace routersim {
namespace {

// The phone logs in and fetches on one kept-alive connection; these bound how long and how
// often a connection is reused, like a small embedded web server does.
constexpr std::size_t kKeepAliveMaxCount = 100;
constexpr int kKeepAliveTimeoutSeconds = 5;

constexpr const char* kHtml = "text/html; charset=utf-8";

enum class DataPage { CallList, Export };

std::string peerOf(const httplib::Request& req) {
    return req.remote_addr + ":" + std::to_string(req.remote_port);
}

std::string hostAndPort(const std::string& address, int port) {
    const bool ipv6 = address.find(':') != std::string::npos;
    return (ipv6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
}

// The line ending of the text's first line, so that a line added to it looks like the others.
std::string lineEndingOf(const std::string& text) {
    const auto newline = text.find('\n');
    return newline != std::string::npos && newline > 0 && text[newline - 1] == '\r' ? "\r\n" : "\n";
}

// A trailing line that makes each fetch's body unique: a one-field "# fetch N" line in the CSV
// (a parser that checks the column count skips it) and an XML comment after the export's root.
std::string withFetchCounter(std::string body, DataPage page, std::size_t serial) {
    const std::string eol = lineEndingOf(body);
    if (!body.empty() && body.back() != '\n') {
        body += eol;
    }
    const std::string counter = "fetch " + std::to_string(serial);
    body += (page == DataPage::CallList ? "# " + counter : "<!-- " + counter + " -->") + eol;
    return body;
}

// The bound port, or -1 when the address cannot be bound; port 0 picks a free one.
int bindPort(httplib::Server& server, const std::string& address, int port) {
    if (port == 0) {
        return server.bind_to_any_port(address);
    }
    return server.bind_to_port(address, port) ? port : -1;
}

void answerStatus(httplib::Response& res, int status) {
    res.status = status;
    // A router sends a client it will not serve back to its start page, the login.
    if (status >= 300 && status < 400) {
        res.set_header("Location", "/");
    }
    res.set_content("<html><body>" + std::to_string(status) + "</body></html>\n", kHtml);
}

void answerRedirect(httplib::Response& res, const std::string& location) {
    res.status = 302;
    res.set_header("Location", location);
    res.set_content("<html><body><a href=\"" + location + "\">moved</a></body></html>\n", kHtml);
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
    Impl(RouterData data, SimulatorOptions options)
        : data_(std::move(data)),
          options_(std::move(options)),
          faults_(options_.faults),
          redirectsLeft_(faults_.redirectCount),
          auth_(options_.user, options_.password, options_.strictLogin ? LoginForm::Router : LoginForm::Module,
                std::chrono::seconds(options_.sessionIdleSeconds)),
          connections_(std::chrono::seconds(kKeepAliveTimeoutSeconds)) {}

    ~Impl() { stop(); }

    int start(const std::string& address, int port);
    void stop();

    SimulatorStats stats() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return stats_;
    }
    void resetStats() {
        std::lock_guard<std::mutex> lock(mutex_);
        stats_ = SimulatorStats{};
    }
    void setFaults(const Faults& faults) {
        std::lock_guard<std::mutex> lock(mutex_);
        faults_ = faults;
        redirectsLeft_ = faults.redirectCount;
    }
    std::string listeningOn() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return ownHost_;
    }

private:
    void configure(httplib::Server& server);
    httplib::Server::HandlerResponse beforeRouting(const httplib::Request& req, httplib::Response& res);
    void afterRouting(httplib::Response& res);
    void afterAnswer(const httplib::Request& req, const httplib::Response& res);
    std::string noteRequest(const httplib::Request& req);

    void handleLogin(const httplib::Request& req, httplib::Response& res);
    std::string sessionAfterLoginRequest(const httplib::Request& req, Clock::time_point now);
    void handleCallList(const httplib::Request& req, httplib::Response& res);
    void handleExport(const httplib::Request& req, httplib::Response& res);
    void handlePhoto(const httplib::Request& req, httplib::Response& res);
    void handleStartPage(const httplib::Request&, httplib::Response& res) { answerLoginPage(res); }
    void answerLoginPage(httplib::Response& res);

    bool admitDataRequest(const std::string& sid, httplib::Response& res);
    std::string takeDataForServing(DataPage page);
    std::optional<std::string> takePhotoForServing(const std::string& path);

    // Guards everything below except the server itself, which start and stop own.
    mutable std::mutex mutex_;
    // A delayed answer waits on this, so that stopping never waits for the delay to run out.
    std::condition_variable stopping_;
    bool stopRequested_ = false;
    RouterData data_;
    const SimulatorOptions options_;
    Faults faults_;
    int redirectsLeft_;
    std::string ownHost_;
    Authenticator auth_;
    ConnectionTracker connections_;
    SimulatorStats stats_;
    std::size_t fetchSerial_ = 0;

    std::unique_ptr<httplib::Server> server_;
    std::thread serverThread_;
    std::atomic<bool> listenEnded_{false};
};

int RouterSimulator::Impl::start(const std::string& address, int port) {
    if (server_) {
        throw std::logic_error("router simulator: already running");
    }
    if (port < 0 || port > 65535) {
        throw std::runtime_error("router simulator: port out of range: " + std::to_string(port));
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopRequested_ = false;
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
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ownHost_ = hostAndPort(address, boundPort);
    }
    server_ = std::move(server);
    listenEnded_ = false;
    serverThread_ = std::thread([this] {
        server_->listen_after_bind();
        listenEnded_ = true;
    });
    // httplib's stop() does nothing until the accept loop runs, so stop() must not come earlier;
    // an accept loop that fails ends without ever running, which must not be waited for forever.
    while (!server_->is_running() && !listenEnded_) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (!server_->is_running()) {
        serverThread_.join();
        server_.reset();
        throw std::runtime_error("cannot accept connections on " + hostAndPort(address, boundPort));
    }
    return boundPort;
}

void RouterSimulator::Impl::stop() {
    if (!server_) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopRequested_ = true;
    }
    stopping_.notify_all();
    server_->stop();
    serverThread_.join();
    server_.reset();
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
    server.set_pre_routing_handler([this](const auto& req, auto& res) { return beforeRouting(req, res); });
    server.set_post_routing_handler([this](const auto&, auto& res) { afterRouting(res); });
    server.set_logger([this](const auto& req, const auto& res) { afterAnswer(req, res); });

    using Handler = void (Impl::*)(const httplib::Request&, httplib::Response&);
    const auto handledBy = [this](Handler handler) {
        return [this, handler](const httplib::Request& req, httplib::Response& res) { (this->*handler)(req, res); };
    };
    server.Get("/login_sid.lua", handledBy(&Impl::handleLogin));
    server.Post("/login_sid.lua", handledBy(&Impl::handleLogin));
    server.Get("/", handledBy(&Impl::handleStartPage));
    server.Get("/fon_num/foncalls_list.lua", handledBy(&Impl::handleCallList));
    server.Post("/cgi-bin/firmwarecfg", handledBy(&Impl::handleExport));
    server.Get("/lua/photo.lua", handledBy(&Impl::handlePhoto));
}

// Every request is counted and logged here, then delayed or redirected as the faults say.
httplib::Server::HandlerResponse RouterSimulator::Impl::beforeRouting(const httplib::Request& req,
                                                                      httplib::Response& res) {
    const std::string redirectLocation = noteRequest(req);
    int delayMs = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        delayMs = faults_.delayMs;
    }
    if (delayMs > 0) {
        std::unique_lock<std::mutex> lock(mutex_);
        stopping_.wait_for(lock, std::chrono::milliseconds(delayMs), [this] { return stopRequested_; });
    }
    if (redirectLocation.empty()) {
        return httplib::Server::HandlerResponse::Unhandled;
    }
    answerRedirect(res, redirectLocation);
    return httplib::Server::HandlerResponse::Handled;
}

// Counts and logs the request; answers where to redirect it, "" when it is not redirected.
std::string RouterSimulator::Impl::noteRequest(const httplib::Request& req) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++stats_.requests;
    if (connections_.noteRequest(peerOf(req), Clock::now())) {
        ++stats_.connections;
    }
    if (redirectsLeft_ <= 0) {
        return "";
    }
    --redirectsLeft_;
    return "http://" + (faults_.redirectHost.empty() ? ownHost_ : faults_.redirectHost) + req.target;
}

void RouterSimulator::Impl::afterRouting(httplib::Response& res) {
    bool close = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        close = faults_.closeConnections;
    }
    if (close) {
        closeConnectionAfterAnswer(res);
    }
}

void RouterSimulator::Impl::afterAnswer(const httplib::Request& req, const httplib::Response& res) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        connections_.noteAnswer(peerOf(req), Clock::now());
    }
    if (options_.verbose) {
        std::fprintf(stderr, "%s %s -> %d\n", req.method.c_str(), req.target.c_str(), res.status);
    }
}

// GET or POST /login_sid.lua: a login (username, response), a logout (logout, sid), a check of
// a session (sid) or just a new challenge. Every answer carries a fresh challenge and the time
// logins stay blocked; it names a session only when one is valid after the request.
void RouterSimulator::Impl::handleLogin(const httplib::Request& req, httplib::Response& res) {
    const auto now = Clock::now();
    SessionInfo info;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const std::string sid = sessionAfterLoginRequest(req, now);
        info.sid = sid.empty() ? kZeroSid : sid;
        info.withRights = !sid.empty();
        info.challenge = auth_.issueChallenge();
        info.blockSeconds = auth_.remainingBlockSeconds(now);
        info.user = auth_.user();
    }
    res.set_content(sessionInfoXml(info), "text/xml; charset=utf-8");
}

std::string RouterSimulator::Impl::sessionAfterLoginRequest(const httplib::Request& req, Clock::time_point now) {
    const std::string sid = req.get_param_value("sid");
    if (req.has_param("logout")) {
        auth_.endSession(sid);
        return "";
    }
    if (!req.has_param("response")) {
        return auth_.useSession(sid, now) ? sid : "";
    }
    std::string newSid =
        auth_.login(req.get_param_value("username"), req.get_param_value("response"), !faults_.dropSessions, now);
    ++(newSid.empty() ? stats_.failedLogins : stats_.logins);
    return newSid;
}

void RouterSimulator::Impl::handleCallList(const httplib::Request& req, httplib::Response& res) {
    if (!admitDataRequest(req.get_param_value("sid"), res)) {
        return;
    }
    // Only the CSV download of the call list is simulated, not the page that shows it.
    if (!req.has_param("csv")) {
        res.status = 404;
        return;
    }
    res.set_content(takeDataForServing(DataPage::CallList), "text/csv; charset=ISO-8859-1");
}

// The phonebook export is a multipart form; the simulated router has one phonebook, id 0.
void RouterSimulator::Impl::handleExport(const httplib::Request& req, httplib::Response& res) {
    if (!req.is_multipart_form_data()) {
        res.status = 400;
        return;
    }
    if (!admitDataRequest(req.get_file_value("sid").content, res)) {
        return;
    }
    if (!req.has_file("PhonebookExport")) {
        res.status = 400;
        return;
    }
    if (req.get_file_value("PhonebookId").content != "0") {
        res.status = 404;
        return;
    }
    res.set_content(takeDataForServing(DataPage::Export), "text/xml");
}

void RouterSimulator::Impl::handlePhoto(const httplib::Request& req, httplib::Response& res) {
    if (!admitDataRequest(req.get_param_value("sid"), res)) {
        return;
    }
    std::optional<std::string> photo = takePhotoForServing(req.get_param_value("photo"));
    if (!photo) {
        res.status = 404;
        return;
    }
    res.set_content(*photo, "image/jpeg");
}

void RouterSimulator::Impl::answerLoginPage(httplib::Response& res) {
    std::string user;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        user = auth_.user();
    }
    res.set_content(loginPageHtml(user), kHtml);
}

// Decides whether a data page may be served; when not, answers the request itself: with the
// forced status, or with the login page (status 200) when the session is not valid, as the
// router does.
bool RouterSimulator::Impl::admitDataRequest(const std::string& sid, httplib::Response& res) {
    int forcedStatus = 0;
    bool sessionValid = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        forcedStatus = faults_.forceStatus;
        sessionValid = forcedStatus == 0 && auth_.useSession(sid, Clock::now());
    }
    if (forcedStatus != 0) {
        answerStatus(res, forcedStatus);
        return false;
    }
    if (!sessionValid) {
        answerLoginPage(res);
    }
    return sessionValid;
}

std::string RouterSimulator::Impl::takeDataForServing(DataPage page) {
    std::lock_guard<std::mutex> lock(mutex_);
    const bool callList = page == DataPage::CallList;
    ++(callList ? stats_.callListFetches : stats_.exportFetches);
    const std::string& body = callList ? data_.callListCsv : data_.phonebookXml;
    return faults_.changeBodyEachFetch ? withFetchCounter(body, page, ++fetchSerial_) : body;
}

// The photo's bytes (empty with the emptyPhotos fault), or nothing for a photo the router lacks.
std::optional<std::string> RouterSimulator::Impl::takePhotoForServing(const std::string& path) {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto photo = data_.photos.find(path);
    if (!faults_.emptyPhotos && photo == data_.photos.end()) {
        return std::nullopt;
    }
    ++stats_.photoFetches;
    return faults_.emptyPhotos ? std::string() : photo->second;
}

RouterSimulator::RouterSimulator(RouterData data, SimulatorOptions options)
    : impl_(std::make_unique<Impl>(std::move(data), std::move(options))) {}

RouterSimulator::~RouterSimulator() = default;

int RouterSimulator::start(const std::string& address, int port) {
    return impl_->start(address, port);
}
void RouterSimulator::stop() {
    impl_->stop();
}
SimulatorStats RouterSimulator::stats() const {
    return impl_->stats();
}
void RouterSimulator::resetStats() {
    impl_->resetStats();
}
void RouterSimulator::setFaults(const Faults& faults) {
    impl_->setFaults(faults);
}

std::string RouterSimulator::listeningOn() const {
    return impl_->listeningOn();
}

}  // namespace routersim
