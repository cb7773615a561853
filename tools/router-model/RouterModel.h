// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A FritzBox home router's web interface as far as the phone module uses it, without any
// transport: a request goes in, the reply comes out. The login at /login_sid.lua with challenges,
// session IDs and login blocking, the call list as CSV, the phonebook export through
// /cgi-bin/firmwarecfg and contact photos through /lua/photo.lua, served from the data given to
// it; and the ways a real router or the network in front of it misbehaves (redirects, closed
// connections, slow or failing answers, changing data, lost sessions). The router simulator
// serves it with cpp-httplib, the tests and benchmarks with their own loopback server.
// Thread-safe: the servers answer requests on several threads.
#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Authenticator.h"
#include "RouterData.h"
#include "RouterRequest.h"
#include "SampleRouter.h"

namespace routersim {

struct Faults {
    // The next N requests, whichever connection they come on, are answered with a 302 to
    // http://<redirectHost><same path and query>. An empty host means the router itself.
    int redirectCount = 0;
    std::string redirectHost;
    bool closeConnections = false;     // "Connection: close" on every answer, and the socket is closed
    int delayMs = 0;                   // every answer waits this long
    int forceStatus = 0;               // call list, export and photo answer this status instead (0 = off)
    bool changeBodyEachFetch = false;  // call list and export carry a fetch counter, so no two are equal
    bool emptyPhotos = false;          // photo requests with a valid session answer 200 with no body
    bool dropSessions = false;         // a login succeeds, but its session is forgotten at once
};

struct SimulatorOptions {
    std::string user = tools::kSampleRouterUser;
    std::string password = tools::kSampleRouterPassword;
    // false: accept the phone module's login response (bare MD5 hex over the bytes of
    // "<challenge>-<password>", each byte widened to 16 bits). true: accept only the real
    // router's ("<challenge>-" + MD5 hex over the UTF-16LE text, characters above U+00FF as '.').
    bool strictLogin = false;
    int sessionIdleSeconds = 1200;  // a session unused this long has expired
    bool blockFailedLogins = true;  // failed logins block further ones for a while, as the router does
    // Not empty: every challenge, and every session id, is this value (runs compared byte for byte).
    std::string fixedChallenge;
    std::string fixedSessionId;
    Faults faults;
};

struct SimulatorStats {
    std::size_t requests = 0;
    std::size_t connections = 0;  // connections that carried at least one request, as the server counts them
    std::size_t logins = 0;       // successful logins
    std::size_t failedLogins = 0;
    std::size_t callListFetches = 0;  // call lists served
    std::size_t exportFetches = 0;    // phonebook exports served
    std::size_t photoFetches = 0;     // photo requests answered 200
};

struct RouterReply {
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;  // besides the content type
    std::string contentType;
    std::string body;
    bool closeConnection = false;  // "Connection: close", then the server closes the connection
    int delayMs = 0;               // the server waits this long before it answers
};

class RouterModel {
public:
    using Clock = std::chrono::steady_clock;

    RouterModel(RouterData data, SimulatorOptions options);

    RouterReply answer(const RouterRequest& request, Clock::time_point now = Clock::now());

    // "HOST:PORT" a redirect to the router itself leads to; the server sets it once it listens.
    void setOwnHost(std::string host);
    std::string ownHost() const;

    SimulatorStats stats() const;
    void resetStats();
    // The redirect count starts anew with every call.
    void setFaults(const Faults& faults);
    // The router's data changes, as when a call comes in or a contact is edited.
    void setData(RouterData data);
    RouterData data() const;
    // A session the router keeps from now on, as if an earlier login had opened it.
    void openSession(const std::string& sid);

private:
    enum class DataPage { CallList, Export };

    std::string redirectLocation(const RouterRequest& request);
    RouterReply route(const RouterRequest& request, Clock::time_point now);
    RouterReply login(const RouterRequest& request, Clock::time_point now);
    std::string sessionAfterLoginRequest(const RouterRequest& request, Clock::time_point now);
    RouterReply callList(const RouterRequest& request, Clock::time_point now);
    RouterReply phonebookExport(const RouterRequest& request, Clock::time_point now);
    RouterReply photo(const RouterRequest& request, Clock::time_point now);
    RouterReply loginPage() const;
    std::optional<RouterReply> refusedDataRequest(const std::string& sid, Clock::time_point now);
    std::string takeDataForServing(DataPage page);

    mutable std::mutex m_mutex;  // guards everything below
    RouterData m_data;
    const SimulatorOptions m_options;
    Faults m_faults;
    int m_redirectsLeft;
    std::string m_ownHost;
    Authenticator m_auth;
    SimulatorStats m_stats;
    std::size_t m_fetchSerial = 0;
};

}  // namespace routersim
