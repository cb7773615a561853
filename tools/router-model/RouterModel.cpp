// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "RouterModel.h"

#include "Pages.h"

namespace routersim {
namespace {

constexpr const char* kHtml = "text/html; charset=utf-8";

// The line ending of the text's first line, so that a line added to it looks like the others.
std::string lineEndingOf(const std::string& text) {
    const auto newline = text.find('\n');
    return newline != std::string::npos && newline > 0 && text[newline - 1] == '\r' ? "\r\n" : "\n";
}

// A trailing line that makes each fetch's body unique: a one-field "# fetch N" line in the CSV
// (a parser that checks the column count skips it) and an XML comment after the export's root.
std::string withFetchCounter(std::string body, bool callList, std::size_t serial) {
    const std::string eol = lineEndingOf(body);
    if (!body.empty() && body.back() != '\n') {
        body += eol;
    }
    const std::string counter = "fetch " + std::to_string(serial);
    body += (callList ? "# " + counter : "<!-- " + counter + " -->") + eol;
    return body;
}

RouterReply contentReply(const char* contentType, std::string body) {
    RouterReply reply;
    reply.contentType = contentType;
    reply.body = std::move(body);
    return reply;
}

RouterReply statusReply(int status) {
    RouterReply reply = contentReply(kHtml, "<html><body>" + std::to_string(status) + "</body></html>\n");
    reply.status = status;
    // A router sends a client it will not serve back to its start page, the login.
    if (status >= 300 && status < 400) {
        reply.headers.emplace_back("Location", "/");
    }
    return reply;
}

RouterReply redirectReply(const std::string& location) {
    RouterReply reply = contentReply(kHtml, "<html><body><a href=\"" + location + "\">moved</a></body></html>\n");
    reply.status = 302;
    reply.headers.emplace_back("Location", location);
    return reply;
}

RouterReply notFound() {
    RouterReply reply;
    reply.status = 404;
    return reply;
}

LoginRules loginRulesOf(const SimulatorOptions& options) {
    LoginRules rules;
    rules.user = options.user;
    rules.password = options.password;
    rules.form = options.strictLogin ? LoginForm::Router : LoginForm::Module;
    rules.sessionIdle = std::chrono::seconds(options.sessionIdleSeconds);
    rules.blockAfterFailures = options.blockFailedLogins;
    rules.fixedChallenge = options.fixedChallenge;
    rules.fixedSessionId = options.fixedSessionId;
    return rules;
}

}  // namespace

RouterModel::RouterModel(RouterData data, SimulatorOptions options)
    : m_data(std::move(data)),
      m_options(std::move(options)),
      m_faults(m_options.faults),
      m_redirectsLeft(m_faults.redirectCount),
      m_auth(loginRulesOf(m_options)) {}

// Every request is counted, then redirected, delayed and closed after as the faults say.
RouterReply RouterModel::answer(const RouterRequest& request, Clock::time_point now) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ++m_stats.requests;
    m_stats.connections += request.newConnection ? 1 : 0;
    const std::string location = redirectLocation(request);
    RouterReply reply = location.empty() ? route(request, now) : redirectReply(location);
    reply.delayMs = m_faults.delayMs;
    reply.closeConnection = m_faults.closeConnections;
    return reply;
}

// Where to redirect the request, "" when it is not redirected.
std::string RouterModel::redirectLocation(const RouterRequest& request) {
    if (m_redirectsLeft <= 0) {
        return "";
    }
    --m_redirectsLeft;
    return "http://" + (m_faults.redirectHost.empty() ? m_ownHost : m_faults.redirectHost) + request.target;
}

RouterReply RouterModel::route(const RouterRequest& request, Clock::time_point now) {
    const bool get = request.method == "GET";
    if (request.path == "/login_sid.lua" && (get || request.method == "POST")) {
        return login(request, now);
    }
    if (request.path == "/" && get) {
        return loginPage();
    }
    if (request.path == "/fon_num/foncalls_list.lua" && get) {
        return callList(request, now);
    }
    if (request.path == "/cgi-bin/firmwarecfg" && request.method == "POST") {
        return phonebookExport(request, now);
    }
    if (request.path == "/lua/photo.lua" && get) {
        return photo(request, now);
    }
    return notFound();
}

// GET or POST /login_sid.lua: a login (username, response), a logout (logout, sid), a check of
// a session (sid) or just a new challenge. Every answer carries a fresh challenge and the time
// logins stay blocked; it names a session only when one is valid after the request.
RouterReply RouterModel::login(const RouterRequest& request, Clock::time_point now) {
    SessionInfo info;
    const std::string sid = sessionAfterLoginRequest(request, now);
    info.sid = sid.empty() ? kZeroSid : sid;
    info.withRights = !sid.empty();
    info.challenge = m_auth.issueChallenge();
    info.blockSeconds = m_auth.remainingBlockSeconds(now);
    info.user = m_auth.user();
    return contentReply("text/xml; charset=utf-8", sessionInfoXml(info));
}

std::string RouterModel::sessionAfterLoginRequest(const RouterRequest& request, Clock::time_point now) {
    const std::string sid = request.param("sid");
    if (request.hasParam("logout")) {
        m_auth.endSession(sid);
        return "";
    }
    if (!request.hasParam("response")) {
        return m_auth.useSession(sid, now) ? sid : "";
    }
    std::string newSid =
        m_auth.login(request.param("username"), request.param("response"), !m_faults.dropSessions, now);
    ++(newSid.empty() ? m_stats.failedLogins : m_stats.logins);
    return newSid;
}

RouterReply RouterModel::callList(const RouterRequest& request, Clock::time_point now) {
    if (auto refused = refusedDataRequest(request.param("sid"), now)) {
        return *refused;
    }
    // Only the CSV download of the call list is simulated, not the page that shows it.
    if (!request.hasParam("csv")) {
        return notFound();
    }
    return contentReply("text/csv; charset=ISO-8859-1", takeDataForServing(DataPage::CallList));
}

// The phonebook export is a multipart form; the simulated router has one phonebook, id 0.
RouterReply RouterModel::phonebookExport(const RouterRequest& request, Clock::time_point now) {
    if (!request.multipartForm) {
        return statusReply(400);
    }
    if (auto refused = refusedDataRequest(request.part("sid"), now)) {
        return *refused;
    }
    if (!request.hasPart("PhonebookExport")) {
        return statusReply(400);
    }
    if (request.part("PhonebookId") != "0") {
        return notFound();
    }
    return contentReply("text/xml", takeDataForServing(DataPage::Export));
}

// The photo's bytes (none with the emptyPhotos fault); 404 for a photo the router lacks.
RouterReply RouterModel::photo(const RouterRequest& request, Clock::time_point now) {
    if (auto refused = refusedDataRequest(request.param("sid"), now)) {
        return *refused;
    }
    const auto photo = m_data.photos.find(request.param("photo"));
    if (!m_faults.emptyPhotos && photo == m_data.photos.end()) {
        return notFound();
    }
    ++m_stats.photoFetches;
    return contentReply("image/jpeg", m_faults.emptyPhotos ? std::string() : photo->second);
}

RouterReply RouterModel::loginPage() const {
    return contentReply(kHtml, loginPageHtml(m_auth.user()));
}

// The answer to a data request the router does not serve: the forced status, or the login page
// (status 200) when the session is not valid, as the router does; nothing when it serves it.
std::optional<RouterReply> RouterModel::refusedDataRequest(const std::string& sid, Clock::time_point now) {
    if (m_faults.forceStatus != 0) {
        return statusReply(m_faults.forceStatus);
    }
    if (!m_auth.useSession(sid, now)) {
        return loginPage();
    }
    return std::nullopt;
}

std::string RouterModel::takeDataForServing(DataPage page) {
    const bool callList = page == DataPage::CallList;
    ++(callList ? m_stats.callListFetches : m_stats.exportFetches);
    const std::string& body = callList ? m_data.callListCsv : m_data.phonebookXml;
    return m_faults.changeBodyEachFetch ? withFetchCounter(body, callList, ++m_fetchSerial) : body;
}

void RouterModel::setOwnHost(std::string host) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_ownHost = std::move(host);
}

std::string RouterModel::ownHost() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_ownHost;
}

SimulatorStats RouterModel::stats() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_stats;
}

void RouterModel::resetStats() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stats = SimulatorStats{};
}

void RouterModel::setFaults(const Faults& faults) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_faults = faults;
    m_redirectsLeft = faults.redirectCount;
}

void RouterModel::setData(RouterData data) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_data = std::move(data);
}

RouterData RouterModel::data() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_data;
}

void RouterModel::openSession(const std::string& sid) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_auth.openSession(sid, Clock::now());
}

}  // namespace routersim
