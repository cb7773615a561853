// fritzbox-xsi: the phone's Broadsoft service in a terminal. It loads the module's documents
// from a FritzBox router (real or simulated) and prints them.
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>

#include "Demo.h"
#include "HostSession.h"
#include "LinuxPlatform.h"
#include "ProgramFiles.h"
#include "TokenFile.h"

namespace {

const int kExitSynced = 0;
const int kExitNotSynced = 1;
const int kExitUsage = 2;
const int kExitTokenFile = 3;  // the token file could not be read or replaced (1 means "unchanged")

struct CommonOptions {
    int logLevel = 2;
    std::string model = "other";
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
    if (fromEnvironment == nullptr) {
        throw UsageError("no password: give --password-file FILE or set FRITZBOX_PASSWORD");
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

void applyCommonOptions(const CommonOptions& common) {
    linux_platform::setPhoneModel(parseModel(common.model));
    linux_platform::setLogLevel(common.logLevel);
}

int runSync(const CommonOptions& common, const SyncOptions& options) {
    applyCommonOptions(common);
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
    return host::runSyncs(plan, std::cout) ? kExitSynced : kExitNotSynced;
}

void addCommonOptions(CLI::App& command, CommonOptions& common) {
    command.add_option("--model", common.model, "Phone model: tern, gull, wren or other (pictures on the first three)")
        ->capture_default_str();
    command
        .add_option("--log-level", common.logLevel,
                    "Write module log lines up to this level to stderr (2: errors only, 6: tracing)")
        ->check(CLI::Range(0, 9))
        ->capture_default_str();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{
        "Loads call logs and the personal directory from a FritzBox router through the phone module "
        "and prints them as XSI documents."};
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Help for every command");

    CommonOptions common;
    SyncOptions sync;
    CLI::App* syncCommand = app.add_subcommand("sync", "Sync one data set and print its document, as the phone does");
    syncCommand->add_option("dataset", sync.dataSet, "calllogs or directory")->required();
    syncCommand->add_option("--router", sync.router, "Reach the router's web interface at ADDR[:PORT]");
    syncCommand->add_option("--connect-to", sync.connectTo, "Extra host mapping NAME:PORT:ADDR:PORT (repeatable)");
    syncCommand->add_option("--user", sync.user, "Router login user name")->required();
    syncCommand->add_option("--password-file", sync.passwordFile,
                            "Read the password from FILE, one line (else FRITZBOX_PASSWORD)");
    syncCommand->add_option("--token-file", sync.tokenFile,
                            "Keep the change token in FILE between runs (read before, written after)");
    syncCommand->add_option("--repeat", sync.repeat, "Number of syncs with one module object")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    syncCommand->add_option("--interval", sync.interval, "Seconds between repeated syncs")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    addCommonOptions(*syncCommand, common);

    host::DemoOptions demo;
    CLI::App* demoCommand =
        app.add_subcommand("demo", "Start fritzbox-router-sim with the bundled data and run the module against it");
    demoCommand->add_option("--data", demo.dataDirectory, "Router data directory (default: the bundled sample)");
    demoCommand->add_option("--model", demo.model, "Phone model for the directory sync")->capture_default_str();

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return app.exit(help);
    } catch (const CLI::CallForAllHelp& help) {
        return app.exit(help);
    } catch (const CLI::ParseError& error) {
        std::cerr << "fritzbox-xsi: " << error.what() << " (see --help)\n";
        return kExitUsage;
    }

    try {
        if (syncCommand->parsed()) {
            return runSync(common, sync);
        }
        return host::runDemo(demo, parseModel(demo.model), std::cout) ? kExitSynced : kExitNotSynced;
    } catch (const UsageError& error) {
        std::cerr << "fritzbox-xsi: " << error.what() << '\n';
        return kExitUsage;
    } catch (const host::TokenFileError& error) {
        std::cerr << "fritzbox-xsi: " << error.what() << '\n';
        return kExitTokenFile;
    } catch (const std::exception& error) {
        std::cerr << "fritzbox-xsi: " << error.what() << '\n';
        return kExitNotSynced;
    }
}
