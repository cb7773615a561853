// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// System-call failures injected in-process with libfiu: the Nth call of one function fails with a
// chosen errno, counted on the test's own thread only (the simulator serving it runs on others),
// and what a user would see is checked: a clear failure, nothing lost, no spin, no hang.
// libfiu's POSIX preload wraps socket, connect, send, recv, poll, open, read, write, fsync, rename,
// close, fork, kill and waitpid. It cannot reach getaddrinfo_a (the resolver), pipe2, mkostemp,
// fchmod and fstat/stat, which glibc calls internally or which it does not wrap; those paths stay
// untested here.
#include <fiu-control.h>
#include <fiu.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "FritzBox.h"
#include "LinuxPlatform.h"
#include "ModelRouter.h"
#include "SimulatorProcess.h"
#include "StopSignals.h"
#include "TokenFile.h"

namespace {

// One failure point at a time: which call on which thread fails, and how many calls it saw.
struct Plan {
    std::thread::id thread;
    int failFrom = 1;  // the first call that fails; every call after it fails too when `every`
    bool every = false;
    std::atomic<int> calls{0};
};
Plan g_plan;

int decide(const char*, int*, void**, unsigned*) {
    if (std::this_thread::get_id() != g_plan.thread) {
        return 0;
    }
    const int call = ++g_plan.calls;
    return call == g_plan.failFrom || (g_plan.every && call > g_plan.failFrom) ? 1 : 0;
}

// Fails the Nth call (and with `every` all later ones) of `point` with `error` while it lives.
class Fault {
public:
    Fault(const char* point, int nth, int error, bool every = false) : m_point(point) {
        g_plan.thread = std::this_thread::get_id();
        g_plan.failFrom = nth;
        g_plan.every = every;
        g_plan.calls = 0;
        fiu_enable_external(point, 1, reinterpret_cast<void*>(static_cast<long>(error)), 0, decide);
    }
    ~Fault() { fiu_disable(m_point); }
    int calls() const { return g_plan.calls; }

private:
    const char* m_point;
};

class Faults : public ::testing::Test {
protected:
    static void SetUpTestSuite() { fiu_init(0); }
};

// The text of the std::runtime_error that `work` throws; "no error" when it throws none.
template <typename Work>
std::string errorOf(Work work) {
    try {
        work();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "no error";
}

std::string contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// ---- the token file: a failure anywhere leaves the old token and no temporary file ----

struct TokenRow {
    const char* point;
    int nth;
    int error;
};

class TokenFileFaults : public Faults, public ::testing::WithParamInterface<TokenRow> {};

TEST_P(TokenFileFaults, AFailedReplaceKeepsTheOldTokenAndLeavesNothing) {
    const std::filesystem::path directory = std::filesystem::path(FAULTS_SCRATCH) / "token";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    const std::string token = (directory / "token").string();
    std::ofstream(token) << "old\n";
    {
        const Fault fault(GetParam().point, GetParam().nth, GetParam().error);
        EXPECT_THROW(host::writeToken(token, "new"), host::TokenFileError);
        EXPECT_GE(fault.calls(), GetParam().nth) << "the failure point was reached";
    }
    const bool renamed = contentOf(token) == "new\n";
    EXPECT_TRUE(contentOf(token) == "old\n" || (renamed && std::string(GetParam().point) == "posix/io/oc/open"))
        << "only a failed sync of the directory comes after the rename";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 1) << "a temporary file left";
}

INSTANTIATE_TEST_SUITE_P(Calls, TokenFileFaults,
                         ::testing::Values(TokenRow{"posix/io/rw/write", 1, ENOSPC},
                                           TokenRow{"posix/io/sync/fsync", 1, EIO},
                                           TokenRow{"posix/io/dir/rename", 1, EXDEV},
                                           TokenRow{"posix/io/oc/open", 1, EACCES},
                                           TokenRow{"posix/io/oc/close", 1, EIO}));

TEST_F(Faults, AnInterruptedWriteIsRetriedAndATokenFileThatCannotBeMadeIsNamed) {
    const std::string token = std::string(FAULTS_SCRATCH) + "/interrupted-token";
    {
        const Fault fault("posix/io/rw/write", 1, EINTR);
        host::writeToken(token, "new");
        EXPECT_GE(fault.calls(), 2) << "written again after the interruption";
    }
    EXPECT_EQ(contentOf(token), "new\n");
    const std::string loop = std::string(FAULTS_SCRATCH) + "/looping-token";
    std::filesystem::remove(loop);
    std::filesystem::create_symlink("looping-token", loop);
    EXPECT_THROW(host::writeToken(loop, "new"), host::TokenFileError) << "a link that leads to itself";
    EXPECT_THROW(host::writeToken(std::string(FAULTS_SCRATCH) + "/no-such-directory/token", "new"),
                 host::TokenFileError);
}

TEST_F(Faults, AnUnreadableTokenFileIsAnErrorNotAnEmptyToken) {
    const std::string token = std::string(FAULTS_SCRATCH) + "/readable-token";
    std::ofstream(token) << "kept\n";
    for (const char* point : {"posix/io/oc/open", "posix/io/rw/read"}) {
        const Fault fault(point, 1, EIO);
        EXPECT_THROW(host::readToken(token), host::TokenFileError) << point;
    }
    EXPECT_EQ(host::readToken(token), "kept");
}

// ---- the transport: a failed call fails the sync, is reported, and the next sync works ----

struct TransportRow {
    const char* point;
    int nth;  // the first receive of an exchange is the look at the idle connection, the second reads
    int error;
    bool every;
    bool syncFails;  // false: the platform gets past the failed call (a fresh connection) by itself
};

class TransportFaults : public Faults, public ::testing::WithParamInterface<TransportRow> {
protected:
    // The router model on the tests' loopback server, with the sample data and its login.
    testsupport::ModelRouter m_router{routersim::SimulatorOptions(),
                                      routersim::RouterData::loadFromDirectory(FRITZBOX_SAMPLE_DATA_DIR)};
};

TEST_P(TransportFaults, AFailedCallFailsTheSyncWithAReasonOrIsGotPastAndTheNextSyncWorks) {
    FritzBox box{tools::kSampleRouterUser, tools::kSampleRouterPassword};
    std::string token;
    linux_platform::resetExchangeReport();
    int calls = 0;
    bool synced = false;
    {
        const Fault fault(GetParam().point, GetParam().nth, GetParam().error, GetParam().every);
        synced = box.sync(Broadsoft::Filters::CallLogs, token);
        calls = fault.calls();
    }
    EXPECT_GE(calls, 1) << "the failure point was reached";
    EXPECT_LT(calls, 200) << "no spin on a call that keeps failing";
    EXPECT_EQ(synced, !GetParam().syncFails);
    if (GetParam().syncFails) {
        const linux_platform::ExchangeReport report = linux_platform::exchangeReport();
        EXPECT_GE(report.failures, 1u);
        EXPECT_FALSE(report.lastFailure.empty());
        EXPECT_TRUE(token.empty()) << "no token from a failed sync";
        EXPECT_TRUE(box.sync(Broadsoft::Filters::CallLogs, token)) << "the next sync, without the fault";
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, TransportFaults,
                         ::testing::Values(TransportRow{"posix/io/net/socket", 1, EMFILE, false, true},
                                           TransportRow{"posix/io/net/connect", 1, ECONNREFUSED, false, true},
                                           TransportRow{"posix/io/net/send", 1, EPIPE, false, true},
                                           TransportRow{"posix/io/net/recv", 1, ECONNRESET, false, false},
                                           TransportRow{"posix/io/net/poll", 1, EINVAL, true, true},
                                           TransportRow{"posix/io/net/recv", 1, ECONNRESET, true, true},
                                           // the first receive is the look whether the connection is still clean:
                                           // one that cannot be looked at is replaced
                                           TransportRow{"posix/io/net/recv", 1, EIO, false, false},
                                           TransportRow{"posix/io/net/recv", 2, EIO, false, true},
                                           // interrupted or not ready yet: tried again
                                           TransportRow{"posix/io/net/send", 1, EINTR, false, false},
                                           TransportRow{"posix/io/net/send", 1, EAGAIN, false, false},
                                           TransportRow{"posix/io/net/recv", 1, EINTR, false, false},
                                           TransportRow{"posix/io/net/recv", 2, EINTR, false, false},
                                           TransportRow{"posix/io/net/poll", 1, EINTR, false, false}));

// ---- the demo's child: failures end the start or the stop promptly ----

class ChildFaults : public Faults {
protected:
    // An executable shell script in the scratch directory.
    static std::string script(const std::string& name, const std::string& body) {
        const std::string program = std::string(FAULTS_SCRATCH) + "/" + name;
        std::ofstream(program) << "#!/bin/sh\n" << body;
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        return program;
    }
    // A stand-in for the simulator that says where it listens, writes its pid and then waits.
    std::string fakeSimulator() {
        return script("fake-simulator",
                      "echo $$ > " + pidFile() + "\necho 'listening on 127.0.0.1:1'\nexec sleep 60\n");
    }
    // One that blocks SIGTERM and SIGINT and never says where it listens, as a simulator stuck
    // loading its data does.
    std::string stalledSimulator() {
        std::filesystem::remove(pidFile());
        return script("stalled-simulator", "trap '' TERM INT\necho $$ > " + pidFile() + "\nexec sleep 60\n");
    }
    std::string pidFile() const { return std::string(FAULTS_SCRATCH) + "/fake-simulator.pid"; }
    // Waits a little for the child's end: it is reaped by then, but the pid file may be new.
    bool childGoneSoon() const {
        for (int wait = 0; wait < 100 && !childGone(); ++wait) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return childGone();
    }
    bool childGone() const {
        const pid_t pid = std::stoi(contentOf(pidFile()));
        return ::kill(pid, 0) != 0 && errno == ESRCH;
    }
};

TEST_F(ChildFaults, AChildThatCannotStartOrSaysSomethingElseIsAnError) {
    EXPECT_THROW(host::SimulatorProcess(std::string(FAULTS_SCRATCH) + "/no-such-program", {}), std::runtime_error);
    {
        const Fault fault("posix/proc/fork", 1, EAGAIN);
        EXPECT_THROW(host::SimulatorProcess(fakeSimulator(), {}), std::runtime_error);
    }
    EXPECT_THROW(host::SimulatorProcess(script("talking-simulator", "echo 'hello there'\nexec sleep 60\n"), {}),
                 std::runtime_error);
}

TEST_F(ChildFaults, AFailedReadOfTheChildsOutputEndsTheStartInsteadOfSpinning) {
    const std::string program = fakeSimulator();
    const Fault fault("posix/io/rw/read", 1, EIO, true);
    EXPECT_THROW(host::SimulatorProcess(program, {}), std::runtime_error);
    EXPECT_LT(fault.calls(), 5);
}

TEST_F(ChildFaults, AStopWhoseSignalOrWaitFailsStillEndsTheChildWithoutWaitingOutTheGrace) {
    const std::string program = fakeSimulator();
    for (const char* point : {"posix/proc/kill", "posix/proc/waitpid"}) {
        std::optional<host::SimulatorProcess> simulator(std::in_place, program, std::vector<std::string>{});
        const auto started = std::chrono::steady_clock::now();
        {
            const Fault fault(point, 1, std::string(point) == "posix/proc/kill" ? EPERM : ECHILD);
            simulator.reset();
        }
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(1)) << point;
        EXPECT_TRUE(childGoneSoon()) << point;
    }
}

// A simulator that stays silent fails the start at its bound, and one that ignores SIGTERM is
// killed once its grace is over: the start never hangs, and no simulator is left behind.
TEST_F(ChildFaults, AStalledSimulatorFailsTheStartAndIsKilled) {
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(errorOf([this] {
                  host::SimulatorProcess(stalledSimulator(), {}, {200, 200});
              }),
              "the router simulator did not report its address in time");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(2));
    EXPECT_TRUE(childGoneSoon());
}

// A simulator that ends on SIGTERM is given the time to end its own way, and is not waited for
// longer than it takes.
TEST_F(ChildFaults, ASimulatorThatEndsOnSigtermEndsItsOwnWay) {
    const std::string ended = std::string(FAULTS_SCRATCH) + "/ending-simulator.ended";
    std::filesystem::remove(ended);
    const std::string program = script("ending-simulator", "trap 'kill $child; echo ended > " + ended +
                                                               "; exit 0' TERM\necho 'listening on 127.0.0.1:1'\n"
                                                               "sleep 60 & child=$!\nwait\n");
    const auto started = std::chrono::steady_clock::now();
    std::optional<host::SimulatorProcess> simulator(std::in_place, program, std::vector<std::string>{},
                                                    host::SimulatorBounds{10000, 5000});
    simulator.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(4));
    EXPECT_EQ(contentOf(ended), "ended\n") << "killed instead of asked";
}

// Signal handling that cannot be set up is an error, not a program that dies at the first Ctrl-C.
TEST_F(Faults, SignalHandlingThatCannotBeSetUpIsAnError) {
    const Fault fault("posix/proc/sigaction", 1, EINVAL);
    EXPECT_EQ(errorOf(host::installStopSignals), "cannot set up signal handling (sigaction): Invalid argument");
}

}  // namespace
