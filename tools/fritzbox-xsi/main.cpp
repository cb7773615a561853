// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// fritzbox-xsi: the phone's Broadsoft service in a terminal. It loads the module's documents
// from a FritzBox router (real or simulated) and prints them.
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <optional>

#include "Demo.h"
#include "HostSession.h"
#include "LinuxPlatform.h"
#include "ProgramFiles.h"
#include "StopSignals.h"
#include "TokenFile.h"

namespace {

// Exit statuses, one per way a run can end, so that a script can tell them apart (README table).
const int kExitChanged = 0;
const int kExitUnchanged = 1;
const int kExitUsage = 2;
const int kExitTokenFile = 3;
const int kExitRouterFailed = 4;
const int kExitLoginRefused = 5;
const int kExitOutput = 6;
const int kExitSignalBase = 128;
const int kExitDemoPassed = 0;
const int kExitDemoFailed = 1;

const double kMaxIntervalSeconds = 86400;
const int kMaxRepeat = 1000000;

// Unset options leave the platform's own defaults, which FRITZBOX_LOG_LEVEL and
// FRITZBOX_PHONE_MODEL choose.
struct CommonOptions {
    std::optional<int> logLevel;
    std::optional<std::string> model;
};

struct SyncOptions {
    std::string dataSet;
    std::string router;
    std::vector<std::string> connectTo;
    std::string user;
    std::string passwordFile;
    std::string tokenFile;
    int repeat = 1;
    double interval = 0;
};

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "ADDR[:PORT]", read like a --connect-to destination; the port defaults to 80.
void mapRouter(const std::string& router) {
    std::string address;
    std::string port;
    if (!linux_platform::parseAddressAndPort(router, "80", address, port)) {
        throw UsageError("--router: expected ADDR[:PORT] with a port 1-65535 and an IPv6 address in brackets, got '" +
                         router + "'");
    }
    linux_platform::mapHost("fritz.box", "80", address, port);
}

std::string readPassword(const std::string& passwordFile) {
    if (!passwordFile.empty()) {
        try {
            return tools::readPasswordFile(passwordFile);
        } catch (const std::invalid_argument& error) {
            throw UsageError(error.what());
        }
    }
    const char* fromEnvironment = std::getenv("FRITZBOX_PASSWORD");
    if (fromEnvironment == nullptr || *fromEnvironment == '\0') {
        throw UsageError("no password: give --password-file FILE or set FRITZBOX_PASSWORD to a non-empty value");
    }
    return fromEnvironment;
}

linux_platform::PhoneModel parseModel(const std::string& name) {
    linux_platform::PhoneModel model;
    if (!linux_platform::parsePhoneModel(name, model)) {
        throw UsageError("--model: expected tern, gull, wren or other, got '" + name + "'");
    }
    return model;
}

// The module writes levels 2 and up; a level below 2 asks for silence, which the platform's own
// rule (errors always written) does not give, so the host drops every line itself.
void applyLogLevel(int level) {
    linux_platform::setLogLevel(level);
    if (level < 2) {
        linux_platform::setLogSink([](const linux_platform::LogRecord&) {});
    }
}

void applyCommonOptions(const CommonOptions& common) {
    if (common.model) {
        linux_platform::setPhoneModel(parseModel(*common.model));
    }
    if (common.logLevel) {
        applyLogLevel(*common.logLevel);
    }
}

// Says what ended the program, on stderr, and gives `status`.
int reported(const std::exception& error, int status) {
    std::cerr << "fritzbox-xsi: " << error.what() << '\n';
    return status;
}

int exitStatusOf(const host::SyncReport& report) {
    switch (report.outcome) {
        case host::SyncOutcome::Changed:
            return kExitChanged;
        case host::SyncOutcome::Unchanged:
            return kExitUnchanged;
        case host::SyncOutcome::RouterFailed:
            return kExitRouterFailed;
        case host::SyncOutcome::LoginRefused:
            return kExitLoginRefused;
    }
    return kExitRouterFailed;
}

int runSync(const CommonOptions& common, const SyncOptions& options) {
    applyCommonOptions(common);
    if (options.user.empty()) {
        throw UsageError("--user: the router's user name must not be empty");
    }
    host::SyncPlan plan;
    if (!host::parseDataSet(options.dataSet, plan.filter)) {
        throw UsageError("expected 'calllogs' or 'directory', got '" + options.dataSet + "'");
    }
    if (!options.router.empty()) {
        mapRouter(options.router);
    }
    for (const std::string& mapping : options.connectTo) {
        std::string error;
        if (!linux_platform::mapHostFromText(mapping, error)) {
            throw UsageError("--connect-to: " + error);
        }
    }
    plan.user = options.user;
    plan.password = readPassword(options.passwordFile);
    plan.tokenFile = options.tokenFile;
    plan.repeat = options.repeat;
    plan.intervalSeconds = options.interval;
    const host::SyncReport report = host::runSyncs(plan, std::cout);
    if (!report.explanation.empty()) {
        std::cerr << "fritzbox-xsi: " << report.explanation << '\n';
    }
    return exitStatusOf(report);
}

// CLI11's number checks let NaN through (every comparison with it is false).
CLI::Validator secondsBetween(double low, double high) {
    return CLI::Validator(
        [low, high](const std::string& text) -> std::string {
            double value = 0;
            if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value) || value < low || value > high) {
                return "expected a number of seconds from " + CLI::detail::to_string(low) + " to " +
                       CLI::detail::to_string(high) + ", got '" + text + "'";
            }
            return std::string();
        },
        "SECONDS");
}

void addCommonOptions(CLI::App& command, CommonOptions& common) {
    command.add_option("--model", common.model,
                       "Phone model: tern, gull, wren or other (pictures on the first three; default: "
                       "FRITZBOX_PHONE_MODEL, else other)");
    command
        .add_option("--log-level", common.logLevel,
                    "Write log lines up to this level to stderr (0 or 1: none, 2: errors, 6: tracing; default: "
                    "FRITZBOX_LOG_LEVEL, else 2)")
        ->check(CLI::Range(0, 9));
}

}  // namespace

// Runs the parsed command; an error is said on stderr and gives its exit status.
int runCommand(bool syncing, const CommonOptions& common, const SyncOptions& sync, const host::DemoOptions& demo) {
    try {
        host::installStopSignals();
        return syncing ? runSync(common, sync)
                       : (host::runDemo(demo, parseModel(demo.model), std::cout) ? kExitDemoPassed : kExitDemoFailed);
    } catch (const UsageError& error) {
        return reported(error, kExitUsage);
    } catch (const host::TokenFileError& error) {
        return reported(error, kExitTokenFile);
    } catch (const host::OutputError& error) {
        return reported(error, kExitOutput);
    } catch (const std::exception& error) {
        return reported(error, syncing ? kExitRouterFailed : kExitDemoFailed);
    }
}

int main(int argc, char** argv) {
    CLI::App app{
        "Loads call logs and the personal directory from a FritzBox router through the phone module "
        "and prints them as XSI documents."};
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Help for every command");
    app.set_version_flag("--version", "fritzbox-xsi " FRITZBOX_XSI_VERSION);
    app.footer(
        "Exit status: 0 changed, 1 unchanged, 2 usage error, 3 token file, 4 the router could not be used, "
        "5 login refused, 6 the document could not be written, 128+N ended by signal N.");

    CommonOptions common;
    SyncOptions sync;
    CLI::App* syncCommand = app.add_subcommand("sync", "Sync one data set and print its document, as the phone does");
    syncCommand->add_option("dataset", sync.dataSet, "calllogs or directory")->required();
    syncCommand->add_option("--router", sync.router, "Reach the router's web interface at ADDR[:PORT]");
    syncCommand->add_option("--connect-to", sync.connectTo, "Extra host mapping NAME:PORT:ADDR:PORT (repeatable)");
    syncCommand
        ->add_option("--user", sync.user,
                     "Router login user name (sent as it is: a name with &, +, =, % or # cannot log in)")
        ->required();
    syncCommand->add_option("--password-file", sync.passwordFile,
                            "Read the password from FILE, one line (else FRITZBOX_PASSWORD)");
    syncCommand->add_option("--token-file", sync.tokenFile,
                            "Keep the change token in FILE between runs (read before, written after)");
    syncCommand
        ->add_option("--repeat", sync.repeat,
                     "Number of syncs with one module object; above 1 each document ends with a NUL byte, to split "
                     "the output with xargs -0 or read -d ''")
        ->check(CLI::Range(1, kMaxRepeat))
        ->capture_default_str();
    syncCommand->add_option("--interval", sync.interval, "Seconds between repeated syncs (at most a day)")
        ->check(secondsBetween(0, kMaxIntervalSeconds))
        ->capture_default_str();
    addCommonOptions(*syncCommand, common);

    host::DemoOptions demo;
    CLI::App* demoCommand =
        app.add_subcommand("demo", "Start fritzbox-router-sim with the bundled data and run the module against it");
    demoCommand->add_option("--data", demo.dataDirectory, "Router data directory (default: the bundled sample)");
    demoCommand->add_option("--model", demo.model, "Phone model for the directory sync")->capture_default_str();

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& helpOrVersion) {
        return app.exit(helpOrVersion);
    } catch (const CLI::ParseError& error) {
        std::cerr << "fritzbox-xsi: " << error.what() << " (see --help)\n";
        return kExitUsage;
    }

    const int status = runCommand(syncCommand->parsed(), common, sync, demo);
    // A stop signal decides the status, also when the work it cut short ended in an error (the demo
    // waiting for its simulator, say).
    return host::stopSignal() != 0 ? kExitSignalBase + host::stopSignal() : status;
}
