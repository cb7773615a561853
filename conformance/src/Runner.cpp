// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Runner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cxxabi.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <typeinfo>
#include <utility>

#include "Adapter.h"
#include "Descriptors.h"
#include "LogTap.h"

namespace conformance {

namespace {

int g_verdictFd = -1;

std::string currentExceptionType() {
    const std::type_info* type = abi::__cxa_current_exception_type();
    return type != nullptr ? demangled(type->name()) : "an unknown type";
}

void redirect(int fd, const char* path, int flags) {
    const int opened = ::open(path, flags | O_CLOEXEC, 0600);
    if (opened >= 0) {
        ::dup2(opened, fd);
        ::close(opened);
    }
}

// The check's side: runs it and writes one verdict, "P", "F<detail>" or "S<reason>".
[[noreturn]] void runChild(const Check& check, const Settings& settings, bool keepStderr, const std::string& dir) {
    ::setpgid(0, 0);
    redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
    const std::string stderrFile = dir + "/stderr.log";
    if (settings.logFrom == "stderr") {
        redirect(STDERR_FILENO, stderrFile.c_str(), O_WRONLY | O_CREAT | O_APPEND);
    } else if (!keepStderr) {
        redirect(STDERR_FILENO, "/dev/null", O_WRONLY);
    }
    std::string verdict;
    try {
        LogTap log(platformAdapter(), settings.logFrom == "stderr" ? stderrFile : settings.logFrom);
        Context context{settings, platformAdapter(), log, dir};
        check.run(context);
        verdict = "P";
    } catch (const Failure& failure) {
        verdict = "F" + failure.text;
    } catch (const Skipped& skipped) {
        verdict = "S" + skipped.reason;
    } catch (const std::exception& exception) {
        verdict = "Fexpected no exception from the platform, got " + currentExceptionType() + ": " + exception.what();
    } catch (...) {
        verdict = "Fexpected no exception from the platform, got " + currentExceptionType();
    }
    writeAll(g_verdictFd, verdict);
    ::_exit(0);
}

std::string signalText(int signal) {
    const std::pair<int, const char*> names[] = {
        {SIGSEGV, "SIGSEGV (an access outside the object or a bad pointer)"},
        {SIGBUS, "SIGBUS"},
        {SIGILL, "SIGILL"},
        {SIGFPE, "SIGFPE"},
        {SIGPIPE, "SIGPIPE (a write to a closed socket without MSG_NOSIGNAL)"},
        {SIGABRT, "SIGABRT (an abort: std::terminate, a failed check of the C library)"},
        {SIGKILL, "SIGKILL"},
        {SIGTERM, "SIGTERM"}};
    for (const auto& [number, name] : names) {
        if (number == signal) {
            return name;
        }
    }
    return "signal " + std::to_string(signal);
}

// Reads the verdict until the check's end of the channel closes or `deadline` passes; false then.
bool readVerdict(int fd, std::chrono::steady_clock::time_point deadline, std::string& verdict) {
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd waiting{fd, POLLIN, 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(left.count()));
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        char buffer[4096];
        const ssize_t got = ready > 0 ? ::read(fd, buffer, sizeof buffer) : -1;
        if (got == 0) {
            return true;
        }
        if (got > 0) {
            verdict.append(buffer, static_cast<std::size_t>(got));
        }
    }
}

// Every process the check left behind (its router) goes with it; the kit reaps them as their
// subreaper.
void endProcessGroup(pid_t group) {
    ::kill(-group, SIGKILL);
    while (::waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

Outcome judge(const std::string& verdict, int status, const std::string& id) {
    if (!verdict.empty() && verdict[0] == 'P') {
        return {Verdict::Passed, ""};
    }
    if (!verdict.empty()) {
        return {verdict[0] == 'S' ? Verdict::Skipped : Verdict::Failed, verdict.substr(1)};
    }
    if (WIFSIGNALED(status)) {
        return {Verdict::Failed, "expected no crash, got " + signalText(WTERMSIG(status))};
    }
    return {Verdict::Failed, "expected a verdict from " + id + ", got an exit with status " +
                                 std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) +
                                 " (the platform ended the process)"};
}

}  // namespace

void closeVerdictChannel() {
    if (g_verdictFd >= 0) {
        ::close(g_verdictFd);
        g_verdictFd = -1;
    }
}

Outcome runIsolated(const Check& check, const Settings& settings, bool keepStderr) {
    static const bool subreaper = ::prctl(PR_SET_CHILD_SUBREAPER, 1) == 0;
    (void)subreaper;
    const std::string dir = settings.scratch + "/" + check.id;
    if (::mkdir(dir.c_str(), 0700) != 0) {
        return {Verdict::Failed, "expected a fresh directory " + dir + " for the check, got " + std::strerror(errno)};
    }
    int channel[2];
    if (::pipe2(channel, O_CLOEXEC) != 0) {
        return {Verdict::Failed, "expected a pipe for the verdict, got " + std::string(std::strerror(errno))};
    }
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(channel[0]);
        g_verdictFd = channel[1];
        runChild(check, settings, keepStderr, dir);
    }
    ::close(channel[1]);
    if (child < 0) {
        ::close(channel[0]);
        return {Verdict::Failed, "expected a process for the check, got " + std::string(std::strerror(errno))};
    }
    ::setpgid(child, child);  // also here, so that the group exists before the check gets to it
    const unsigned bound = check.boundSeconds * settings.slow;
    std::string verdict;
    const bool ended = readVerdict(channel[0], std::chrono::steady_clock::now() + std::chrono::seconds(bound), verdict);
    ::close(channel[0]);
    int status = 0;
    if (!ended) {
        endProcessGroup(child);
        ::waitpid(child, &status, 0);
        return {Verdict::Failed,
                "expected an end within " + std::to_string(bound) + " s, got a check still running (stopped)"};
    }
    ::waitpid(child, &status, 0);
    endProcessGroup(child);
    return judge(verdict, status, check.id);
}

}  // namespace conformance
