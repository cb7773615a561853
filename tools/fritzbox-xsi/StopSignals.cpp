// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "StopSignals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

namespace host {
namespace {

std::atomic<int> g_stopSignal{0};
int g_wakeUp[2] = {-1, -1};  // a byte in the pipe ends a wait: poll cannot miss it, unlike a flag

void noteStop(int signal) {
    const int savedErrno = errno;
    int none = 0;
    g_stopSignal.compare_exchange_strong(none, signal);
    const char byte = 1;
    [[maybe_unused]] const ssize_t wrote = ::write(g_wakeUp[1], &byte, 1);
    errno = savedErrno;
}

void check(bool ok, const char* what) {
    if (!ok) {
        throw std::runtime_error(std::string("cannot set up signal handling (") + what + "): " + std::strerror(errno));
    }
}

}  // namespace

void installStopSignals() {
    check(::pipe2(g_wakeUp, O_CLOEXEC | O_NONBLOCK) == 0, "pipe");
    struct sigaction action {};
    action.sa_handler = noteStop;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;  // no SA_RESTART: a blocking call returns with EINTR and the caller looks
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        check(::sigaction(signal, &action, nullptr) == 0, "sigaction");
    }
    check(std::signal(SIGPIPE, SIG_IGN) != SIG_ERR, "SIGPIPE");
}

int stopSignal() {
    return g_stopSignal.load();
}

bool waitUnlessStopped(double seconds) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    while (stopSignal() == 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) {
            return true;
        }
        pollfd wakeUp{g_wakeUp[0], POLLIN, 0};
        ::poll(&wakeUp, 1, static_cast<int>(std::min<long long>(left, 60000)));
    }
    return false;
}

}  // namespace host
