// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The kit's router on loopback TCP, in a process of its own: the platform under test reaches it
// only through its sockets, and the check learns what arrived only through a pipe. It listens
// for two hosts, fritz.box and other.test, and points those names at itself: through the
// adapter's host mapping where the platform has one, else at 127.0.0.1:80 and 127.0.0.2:80, where
// a hosts file sends the names.
#include <sys/types.h>

#include <string>
#include <vector>

#include "Kit.h"
#include "KitRouter.h"

namespace conformance {

struct RouterEvent {
    enum Kind : char {
        Accepted = 'A',   // a connection came in
        Request = 'R',    // a request arrived (and was answered)
        Malformed = 'M',  // bytes that are no HTTP request arrived; the router hung up
        ClientEnd = 'E',  // the client ended the connection
        RouterEnd = 'C'   // the router ended it, as its reply said
    };
    Kind kind;
    int connection;    // numbered from 0 in the order they came in
    std::string host;  // the host whose listener took the connection
    HttpRequest request;
};

class LoopbackRouter {
public:
    LoopbackRouter(const Context& context, RouterScript script);
    ~LoopbackRouter();
    LoopbackRouter(const LoopbackRouter&) = delete;
    LoopbackRouter& operator=(const LoopbackRouter&) = delete;

    // Everything the router saw so far, in order.
    std::vector<RouterEvent> events();
    // The requests among them.
    std::vector<HttpRequest> requests();
    // How many connections came in so far.
    long long connections();
    // Waits (briefly polling, at most `seconds`) until an event of `kind` for `connection` is there.
    bool waitFor(RouterEvent::Kind kind, int connection, unsigned seconds);

private:
    pid_t m_pid = -1;
    int m_commands = -1;              // to the router
    int m_answers = -1;               // from it
    std::vector<RouterEvent> m_seen;  // what the router reported so far (it reports each event once)
};

// Makes `name` port 80 lead to a port where nothing listens, so that connecting is refused; keeps
// that port taken while it lives. Without host mapping, the names must lead there by the setup:
// fritz.box while no router runs, and any other name becomes 127.0.0.3, where nothing listens.
class RefusingHost {
public:
    explicit RefusingHost(const Context& context, std::string name = "refused.test");
    ~RefusingHost();
    const std::string& name() const { return m_name; }

private:
    int m_fd = -1;
    std::string m_name;
};

}  // namespace conformance
