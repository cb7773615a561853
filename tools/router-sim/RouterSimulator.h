// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A stand-in for a FritzBox home router's web interface: the login at /login_sid.lua with
// challenge, session IDs and login blocking, the call list as CSV, the phonebook export through
// /cgi-bin/firmwarecfg and contact photos through /lua/photo.lua. It serves data given to it
// (usually the bundled sample router data) on a loopback port, and can be told to misbehave in
// the ways a real router or the network in front of it does (redirects, closed connections,
// slow or failing answers, changing data, lost sessions).
#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "SampleRouter.h"

namespace routersim {

// Where the router keeps contact photos; the phonebook's imageURLs name files under it.
constexpr const char* kPhotoDirectory = "/var/media/ftp/FRITZ/fonpix/";

struct RouterData {
    std::string callListCsv;   // bytes as the router sends them (ISO-8859-1, "sep=;" line first)
    std::string phonebookXml;  // the export file as the router sends it
    // router-side path ("/var/media/ftp/FRITZ/fonpix/1.jpg") -> image bytes
    std::map<std::string, std::string> photos;

    // Reads dir/calllist.csv, dir/phonebook.xml and every file in dir/photos/ (optional), each
    // photo under kPhotoDirectory + its file name. Throws std::runtime_error naming the file that
    // cannot be read.
    static RouterData loadFromDirectory(const std::string& dir);
};

struct Faults {
    // The next N requests, whichever connection they come on, are answered with a 302 to
    // http://<redirectHost><same path and query>. An empty host means the simulator itself.
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
    Faults faults;
    bool verbose = false;  // one line per answered request on stderr
};

struct SimulatorStats {
    std::size_t requests = 0;
    // TCP connections that carried at least one request. httplib does not show the socket, so a
    // connection is recognised by the client's address and port (see ConnectionTracker.h).
    std::size_t connections = 0;
    std::size_t logins = 0;  // successful logins
    std::size_t failedLogins = 0;
    std::size_t callListFetches = 0;  // call lists served
    std::size_t exportFetches = 0;    // phonebook exports served
    std::size_t photoFetches = 0;     // photo requests answered 200
};

// The two ways a login response can be computed from a challenge and a password.
enum class LoginForm {
    Module,  // MD5 hex over the bytes of "<challenge>-<password>", each followed by a zero byte
    Router,  // "<challenge>-" + MD5 hex over the UTF-16LE text, code points above 255 as '.'
};
std::string loginResponse(const std::string& challenge, const std::string& password, LoginForm form);

class RouterSimulator {
public:
    RouterSimulator(RouterData data, SimulatorOptions options);
    ~RouterSimulator();  // stops
    RouterSimulator(const RouterSimulator&) = delete;
    RouterSimulator& operator=(const RouterSimulator&) = delete;

    // Binds (port 0 = an ephemeral port), serves on a background thread and returns the port.
    // Throws std::runtime_error when the address cannot be bound, std::logic_error when running.
    int start(const std::string& address = "127.0.0.1", int port = 0);
    // "ADDRESS:PORT" of the latest start, an IPv6 address in brackets.
    std::string listeningOn() const;
    // Stops accepting and waits for the connections in progress; an idle kept-alive connection
    // is waited for up to the keep-alive timeout (5 s). A stopped simulator can be started again.
    void stop();

    SimulatorStats stats() const;
    void resetStats();

    // The redirect count starts anew with every call.
    void setFaults(const Faults& faults);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace routersim
