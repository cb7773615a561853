// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "SimulatorProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "LinuxPlatform.h"
#include "StopSignals.h"

namespace host {
namespace {

const std::string kListeningPrefix = "listening on ";

}  // namespace

SimulatorProcess::SimulatorProcess(const std::string& program, const std::vector<std::string>& arguments,
                                   SimulatorBounds bounds)
    : m_bounds(bounds) {
    spawn(program, arguments);
    try {
        const std::string line = readLine(m_bounds.startMs);
        if (line.compare(0, kListeningPrefix.size(), kListeningPrefix) != 0 ||
            !linux_platform::parseAddressAndPort(line.substr(kListeningPrefix.size()), "", m_address, m_port)) {
            throw std::runtime_error(program + " printed '" + line + "' instead of 'listening on ADDRESS:PORT'");
        }
    } catch (...) {
        stop();
        throw;
    }
}

bool SimulatorProcess::reapWithin(int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    do {
        const pid_t reaped = waitpid(m_pid, nullptr, WNOHANG);
        if (reaped == m_pid) {
            return true;
        }
        if (reaped < 0 && errno != EINTR) {
            return false;  // it cannot be waited for: no point in waiting out the grace
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
}

SimulatorProcess::~SimulatorProcess() {
    stop();
}

// fork and exec rather than posix_spawn: the child asks the kernel to kill it when the demo ends,
// however the demo ends (SIGKILL included), so no simulator is ever left listening.
void SimulatorProcess::spawn(const std::string& program, const std::vector<std::string>& arguments) {
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) {
        throw std::runtime_error(std::string("cannot create a pipe: ") + std::strerror(errno));
    }
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    const std::string cannotStart = "fritzbox-xsi: cannot start " + program + "\n";
    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid == 0) {
        runChild(pipeEnds[1], parent, argv.data(), cannotStart);
    }
    const int forkError = errno;
    close(pipeEnds[1]);
    m_output = pipeEnds[0];
    if (m_pid < 0) {
        m_pid = -1;
        stop();
        throw std::runtime_error("cannot start " + program + ": " + std::strerror(forkError));
    }
}

// In the child, between fork and exec: only async-signal-safe calls.
void SimulatorProcess::runChild(int output, pid_t parent, char* const argv[], const std::string& cannotStart) {
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent) {
        _exit(127);  // the demo is already gone
    }
    if (dup2(output, STDOUT_FILENO) >= 0) {
        execv(argv[0], argv);
    }
    [[maybe_unused]] const ssize_t wrote = write(STDERR_FILENO, cannotStart.data(), cannotStart.size());
    _exit(127);
}

std::string SimulatorProcess::readLine(int timeoutMs) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::string line;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd ready{m_output, POLLIN, 0};
        const int polled = left.count() > 0 ? poll(&ready, 1, static_cast<int>(left.count())) : 0;
        if (polled == 0) {
            throw std::runtime_error("the router simulator did not report its address in time");
        }
        if (polled < 0 && stopSignal() != 0) {
            throw std::runtime_error("stopped by a signal while waiting for the router simulator");
        }
        if (polled < 0) {
            continue;  // interrupted; the deadline still holds
        }
        char c;
        const ssize_t got = read(m_output, &c, 1);
        if (got < 0 && errno != EINTR && errno != EAGAIN) {
            // A pipe that polls readable but cannot be read would otherwise spin until the deadline.
            throw std::runtime_error(std::string("cannot read the router simulator's output: ") + std::strerror(errno));
        }
        if (got == 0) {
            throw std::runtime_error("the router simulator ended before it listened (its message is above)");
        }
        if (got > 0 && c == '\n') {
            return line;
        }
        if (got > 0) {
            line += c;
        }
    }
}

// Asks the simulator to end and gives it the grace of its bounds; one that does not (it may be stuck
// loading its data, with SIGTERM blocked) is killed, so that stopping never hangs.
// A simulator that cannot even be signalled is left to itself rather than waited for forever.
void SimulatorProcess::stop() {
    if (m_pid > 0) {
        const bool ended = kill(m_pid, SIGTERM) == 0 && reapWithin(m_bounds.stopGraceMs);
        if (!ended && kill(m_pid, SIGKILL) == 0) {
            while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
        m_pid = -1;
    }
    if (m_output >= 0) {
        close(m_output);
        m_output = -1;
    }
}

}  // namespace host
