// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router model (RouterModel.h) served over HTTP by cpp-httplib: a stand-in for a FritzBox
// home router's web interface on a port of this machine, usually with the bundled sample router
// data. It counts TCP connections by the client's address and port (ConnectionTracker.h), since
// httplib does not show the socket.
#include <memory>
#include <string>

#include "RouterModel.h"

namespace routersim {

class RouterSimulator {
public:
    // `verbose`: one line per answered request on stderr.
    RouterSimulator(RouterData data, SimulatorOptions options, bool verbose = false);
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
    std::unique_ptr<Impl> m_impl;
};

}  // namespace routersim
