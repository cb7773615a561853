// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router simulator program run as a child process, for the demo: the installed host stays
// free of the simulator's code and talks to it over loopback like to a real router.
#include <sys/types.h>

#include <string>
#include <vector>

namespace host {

// How long the simulator may take to say where it listens, and to end once asked to.
struct SimulatorBounds {
    int startMs = 10000;  // it loads its data and binds in well under a second; more means it hangs
    int stopGraceMs = 2000;
};

class SimulatorProcess {
public:
    // Starts `program` with `arguments` and waits for its "listening on ADDRESS:PORT" line.
    // Throws std::runtime_error when it cannot be started or ends or stays silent instead, or when
    // a stop signal arrives while it waits.
    SimulatorProcess(const std::string& program, const std::vector<std::string>& arguments,
                     SimulatorBounds bounds = {});
    ~SimulatorProcess();  // ends the simulator (SIGTERM, SIGKILL after the grace) and reaps it
    SimulatorProcess(const SimulatorProcess&) = delete;
    SimulatorProcess& operator=(const SimulatorProcess&) = delete;

    const std::string& address() const { return m_address; }
    const std::string& port() const { return m_port; }

private:
    void spawn(const std::string& program, const std::vector<std::string>& arguments);
    [[noreturn]] static void runChild(int output, pid_t parent, char* const argv[], const std::string& cannotStart);
    std::string readLine(int timeoutMs);
    void stop();
    bool reapWithin(int timeoutMs);  // true when the simulator ended within the time

    const SimulatorBounds m_bounds;
    pid_t m_pid = -1;
    int m_output = -1;  // read end of the simulator's stdout
    std::string m_address;
    std::string m_port;
};

}  // namespace host
