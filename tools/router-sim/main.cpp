// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// fritzbox-router-sim: serves a directory of router data (by default the bundled sample router
// data) the way a FritzBox's web interface does, so the phone module can be run against it.
#include <pthread.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

#include "ProgramFiles.h"
#include "RouterSimulator.h"

namespace {

constexpr const char* kProgram = "fritzbox-router-sim";
constexpr int kExitFailed = 1;       // serving failed after the start
constexpr int kExitCannotStart = 2;  // a bad option, unreadable data, an address that cannot be bound

struct ProgramOptions {
    std::string listen;  // as given: ADDR, ADDR:PORT, [V6] or [V6]:PORT
    std::string listenAddress = "127.0.0.1";
    int port = 8080;
    std::string dataDirectory;  // empty: the bundled sample
    std::string passwordFile;
    routersim::SimulatorOptions simulator;
    bool verbose = false;
};

void addServingOptions(CLI::App& app, ProgramOptions& options) {
    app.add_option("--listen", options.listen,
                   "Address to listen on (default 127.0.0.1): ADDR or ADDR:PORT, an IPv6 address in brackets "
                   "when a port follows ([::1]:8080); a port here wins over --port");
    app.add_option("--port", options.port, "Port to listen on; 0 picks a free one")
        ->check(CLI::Range(0, 65535))
        ->capture_default_str();
    app.add_option("--data", options.dataDirectory,
                   "Directory with calllist.csv, phonebook.xml and photos/ (default: the bundled sample)");
    app.add_option("--user", options.simulator.user, "The router's user name")->capture_default_str();
    app.add_option("--password-file", options.passwordFile,
                   std::string("File holding the password, one line (default password: ") +
                       tools::kSampleRouterPassword + ", the sample's)");
    app.add_flag("--strict-login", options.simulator.strictLogin,
                 "Accept only the real router's login response (<challenge>-<md5 of UTF-16LE>) instead of "
                 "the phone module's (bare md5 over byte-widened text)");
    app.add_option("--session-idle", options.simulator.sessionIdleSeconds, "Seconds until an unused session expires")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    app.add_flag("--verbose", options.verbose, "One line per request on stderr");
}

void addFaultOptions(CLI::App& app, routersim::Faults& faults) {
    app.add_option("--redirects", faults.redirectCount, "Answer the first N requests with a 302 redirect")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--redirect-host", faults.redirectHost, "HOST[:PORT] the redirects point to (default: this one)");
    app.add_flag("--close-connections", faults.closeConnections, "Close the connection after every answer");
    app.add_option("--delay-ms", faults.delayMs, "Delay every answer by N milliseconds")->check(CLI::NonNegativeNumber);
    app.add_option("--force-status", faults.forceStatus, "Answer call list, export and photos with this status")
        ->check(CLI::Range(100, 599));
    app.add_flag("--change-body", faults.changeBodyEachFetch, "Make every call list and export differ");
    app.add_flag("--empty-photos", faults.emptyPhotos, "Answer photo requests with 200 and no body");
    app.add_flag("--drop-sessions", faults.dropSessions, "Forget every session right after the login");
}

bool isPort(const std::string& text) {
    return !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == std::string::npos &&
           std::stoi(text) <= 65535;
}

// Splits --listen into the address the server binds (IPv6 without brackets) and an optional port.
void applyListen(ProgramOptions& options) {
    const std::string& text = options.listen;
    const auto refuse = [&text](const std::string& why) {
        throw std::invalid_argument("--listen '" + text + "': " + why);
    };
    std::string address = text;
    std::string port;
    if (!text.empty() && text[0] == '[') {
        const std::size_t close = text.find(']');
        if (close == std::string::npos || (close + 1 < text.size() && text[close + 1] != ':')) {
            refuse("expected [IPv6] or [IPv6]:PORT");
        }
        address = text.substr(1, close - 1);
        port = close + 1 < text.size() ? text.substr(close + 2) : "";
        if (close + 1 < text.size() && port.empty()) {
            refuse("no port after the colon");
        }
    } else if (std::count(text.begin(), text.end(), ':') == 1) {
        address = text.substr(0, text.find(':'));
        port = text.substr(text.find(':') + 1);
    }
    if (address.empty()) {
        refuse("no address");
    }
    if (!port.empty() && !isPort(port)) {
        refuse("the port must be a number from 0 to 65535");
    }
    options.listenAddress = address;
    if (!port.empty()) {
        options.port = std::stoi(port);
    }
}

// The sample data installed with the program (or linked into the build tree beside it), found
// relative to the executable so that an installed tree can be moved.
std::string bundledDataDirectory() {
    return tools::executableDirectory() + "/" + FRITZBOX_SAMPLE_DATA_FROM_BIN;
}

// Blocks SIGINT and SIGTERM here and in every thread started later (they inherit the mask), so
// that only the main thread takes them, in sigwait, and can stop the simulator cleanly.
// A shell starts background jobs with SIGINT ignored, and an ignored signal never reaches
// sigwait: the default disposition comes back first.
sigset_t blockStopSignals() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

// The simulator serving as asked; throws std::exception naming why it cannot start.
std::unique_ptr<routersim::RouterSimulator> startSimulator(const ProgramOptions& options) {
    const std::string data = options.dataDirectory.empty() ? bundledDataDirectory() : options.dataDirectory;
    auto simulator = std::make_unique<routersim::RouterSimulator>(routersim::RouterData::loadFromDirectory(data),
                                                                  options.simulator, options.verbose);
    simulator->start(options.listenAddress, options.port);
    return simulator;
}

// A graceful stop waits for idle kept-alive connections (up to their 5 s time-out); a signal must
// end the program within a second in every state, so after kStopBound it ends without them.
constexpr std::chrono::milliseconds kStopBound{500};

void stopWithin(routersim::RouterSimulator& simulator, std::chrono::milliseconds bound) {
    std::future<void> stopped = std::async(std::launch::async, [&simulator] { simulator.stop(); });
    if (stopped.wait_for(bound) != std::future_status::ready) {
        std::cout.flush();
        std::_Exit(0);
    }
}

int serve(const ProgramOptions& options) {
    const sigset_t stopSignals = blockStopSignals();
    std::unique_ptr<routersim::RouterSimulator> simulator;
    try {
        simulator = startSimulator(options);
    } catch (const std::exception& e) {
        std::cerr << kProgram << ": " << e.what() << "\n";
        return kExitCannotStart;
    }
    std::cout << "listening on " << simulator->listeningOn() << std::endl;
    int signal = 0;
    sigwait(&stopSignals, &signal);
    stopWithin(*simulator, kStopBound);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Simulates a FritzBox router's web interface: login, call list, phonebook export, photos.", kProgram);
    app.set_version_flag("--version", std::string(kProgram) + " " + FRITZBOX_XSI_VERSION);
    ProgramOptions options;
    addServingOptions(app, options);
    addFaultOptions(app, options.simulator.faults);
    try {
        app.parse(argc, argv);
        if (!options.listen.empty()) {
            applyListen(options);
        }
        if (!options.passwordFile.empty()) {
            options.simulator.password = tools::readPasswordFile(options.passwordFile);
        }
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            return app.exit(e);  // --help
        }
        std::cerr << kProgram << ": " << e.what() << " (see --help)\n";
        return kExitCannotStart;
    } catch (const std::invalid_argument& e) {
        std::cerr << kProgram << ": " << e.what() << "\n";
        return kExitCannotStart;
    }

    try {
        return serve(options);
    } catch (const std::exception& e) {
        std::cerr << kProgram << ": " << e.what() << "\n";
        return kExitFailed;
    }
}
