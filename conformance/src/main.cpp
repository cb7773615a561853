// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// fritzbox-conformance: checks a phone platform against everything the FritzBox module relies on.
// See --help, and "Checking your platform" in the module's integration document.
#include <fnmatch.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "Adapter.h"
#include "Kit.h"
#include "Md5.h"
#include "Registry.h"
#include "Runner.h"

using namespace conformance;
using routersim::selfTestMd5;

namespace {

const char* const kUsage =
    "usage: fritzbox-conformance [options]\n"
    "Checks the platform this program is linked with against every assumption the FritzBox module\n"
    "makes about it. One line per check, PASS <id>, FAIL <id>: <expected>, <got> or SKIP <id>: <why>,\n"
    "then \"N passed, M failed\". Exit status: 0 all passed, 1 a check failed, 2 usage error,\n"
    "3 nothing failed but checks were skipped, 4 the kit itself is broken.\n"
    "\n"
    "  --list                     print every check with its tier and the assumptions it guards\n"
    "  --only PATTERN             run only the checks whose id matches PATTERN (a glob, e.g. 'http.*');\n"
    "                             repeatable\n"
    "  --required-only            run only the checks of tier R, those the module's behaviour depends on\n"
    "                             (tier C holds the installed headers' word where the module does not care)\n"
    "  --model tern|gull|wren|other  the phone model the platform answers for (the hardware and picture\n"
    "                             checks need it; an adapter that can set the model is told it)\n"
    "  --scratch DIR              where the kit makes its working directory (default: $TMPDIR or /tmp)\n"
    "  --log-from stderr|FILE     where the platform's log lines appear when the adapter cannot capture\n"
    "                             them: the process's stderr, or a file they are appended to\n"
    "  --slow N                   multiply every time bound by N (4 under qemu)\n"
    "  --allow-picture-directory  run the end-to-end checks although /data/images/fritzbox/ exists:\n"
    "                             the module deletes it with everything in it\n"
    "  --verbose                  keep what the checks write to stderr\n"
    "  --help                     this text\n"
    "\n"
    "The platform must let the name fritz.box, port 80, reach the kit's router, and other.test its\n"
    "second host: an adapter that maps host names does it by itself; otherwise /etc/hosts must map\n"
    "fritz.box to 127.0.0.1 and other.test to 127.0.0.2, with port 80 free on both (the kit's\n"
    "run-in-namespace.sh sets this up on a PC).\n";

const char* const kPictureDirectory = "/data/images/fritzbox";

struct CommandLine {
    Settings settings;
    std::vector<std::string> only;
    bool list = false;
    bool requiredOnly = false;
    bool verbose = false;
};

int usageError(const std::string& message) {
    std::fprintf(stderr, "fritzbox-conformance: %s\n%s", message.c_str(), kUsage);
    return 2;
}

// False with `error` set on a bad command line.
bool parse(int argc, char** argv, CommandLine& line, std::string& error) {
    const std::set<std::string> models = {"tern", "gull", "wren", "other"};
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const bool hasValue = i + 1 < argc;
        if (option == "--list") {
            line.list = true;
        } else if (option == "--required-only") {
            line.requiredOnly = true;
        } else if (option == "--allow-picture-directory") {
            line.settings.allowPictureDirectory = true;
        } else if (option == "--verbose") {
            line.verbose = true;
        } else if (option == "--only" && hasValue) {
            line.only.push_back(argv[++i]);
        } else if (option == "--model" && hasValue && models.count(argv[i + 1]) != 0) {
            line.settings.model = argv[++i];
        } else if (option == "--scratch" && hasValue) {
            line.settings.scratch = argv[++i];
        } else if (option == "--log-from" && hasValue && *argv[i + 1] != '\0') {
            line.settings.logFrom = argv[++i];
        } else if (option == "--slow" && hasValue && std::atoi(argv[i + 1]) >= 1 && std::atoi(argv[i + 1]) <= 100) {
            line.settings.slow = static_cast<unsigned>(std::atoi(argv[++i]));
        } else {
            error = hasValue || option.rfind("--", 0) != 0 ? "bad option or value: " + option
                                                           : "option needs a value: " + option;
            return false;
        }
    }
    return true;
}

std::vector<Check> allChecks() {
    std::vector<Check> checks;
    for (auto group : {loadChecks, abiChecks, textChecks, cryptoChecks, storageChecks, hardwareChecks, logChecks,
                       serializerChecks, transportChecks, httpChecks, endToEndChecks}) {
        for (const Check& check : group()) {
            checks.push_back(check);
        }
    }
    return checks;
}

// Empty when the kit can be trusted: its MD5 gives the RFC's digests, and the registry and the
// checks name each other.
std::string selfTest(const std::vector<Check>& checks, const std::vector<Assumption>& registry) {
    const std::string md5 = selfTestMd5();
    if (!md5.empty()) {
        return md5;
    }
    std::set<std::string> inRegistry, inKit;
    for (const Assumption& assumption : registry) {
        inRegistry.insert(assumption.checks.begin(), assumption.checks.end());
    }
    for (const Check& check : checks) {
        if (!inKit.insert(check.id).second) {
            return std::string("check ") + check.id + " is defined twice";
        }
        if (inRegistry.count(check.id) == 0) {
            return std::string("check ") + check.id + " guards no assumption of the registry";
        }
    }
    for (const std::string& id : inRegistry) {
        if (inKit.count(id) == 0) {
            return "the registry names check " + id + ", which the kit does not have";
        }
    }
    return "";
}

bool selected(const CommandLine& line, const std::vector<Assumption>& registry, const Check& check) {
    if (line.requiredOnly && tierOf(registry, check.id) != 'R') {
        return false;
    }
    if (line.only.empty()) {
        return true;
    }
    for (const std::string& pattern : line.only) {
        if (::fnmatch(pattern.c_str(), check.id, 0) == 0) {
            return true;
        }
    }
    return false;
}

int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    return ::remove(path);
}

// The kit's working directory: a new one inside --scratch (or $TMPDIR, /tmp), removed at the end.
std::string makeWorkDirectory(const std::string& scratch) {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = (!scratch.empty()                 ? scratch
                           : tmp != nullptr && *tmp != '\0' ? tmp
                                                            : "/tmp") +
                          std::string("/fritzbox-conformance.XXXXXX");
    return ::mkdtemp(&pattern[0]) != nullptr ? pattern : "";
}

int runChecks(const std::vector<Check>& checks, CommandLine& line) {
    Settings& settings = line.settings;
    const std::string work = makeWorkDirectory(settings.scratch);
    if (work.empty()) {
        return usageError("cannot make a working directory in " +
                          (settings.scratch.empty() ? "/tmp" : settings.scratch));
    }
    settings.scratch = work;
    struct stat status;
    settings.pictureDirectoryInUse = !settings.allowPictureDirectory && ::stat(kPictureDirectory, &status) == 0;
    if (!settings.model.empty()) {
        platformAdapter().setPhoneModel(settings.model);
    }
    std::printf("fritzbox-conformance: %zu checks, adapter %s, model %s\n", checks.size(), platformAdapter().name(),
                settings.model.empty() ? "not given" : settings.model.c_str());
    unsigned passed = 0, failed = 0, skipped = 0;
    for (const Check& check : checks) {
        const Outcome outcome = runIsolated(check, settings, line.verbose);
        if (outcome.verdict == Verdict::Passed) {
            ++passed;
            std::printf("PASS %s\n", check.id);
        } else {
            ++(outcome.verdict == Verdict::Failed ? failed : skipped);
            std::printf("%s %s: %s\n", outcome.verdict == Verdict::Failed ? "FAIL" : "SKIP", check.id,
                        outcome.detail.c_str());
        }
        std::fflush(stdout);
    }
    ::nftw(work.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS);
    std::printf("%u passed, %u failed\n", passed, failed);
    return failed > 0 ? 1 : skipped > 0 ? 3 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    CommandLine line;
    std::string error;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        }
    }
    if (!parse(argc, argv, line, error)) {
        return usageError(error);
    }
    const std::vector<Assumption> registry = parseRegistry(registryText(), error);
    const std::vector<Check> checks = allChecks();
    if (error.empty()) {
        error = selfTest(checks, registry);
    }
    if (!error.empty()) {
        std::fprintf(stderr, "fritzbox-conformance: the kit itself is broken: %s\n", error.c_str());
        return 4;
    }
    std::vector<Check> chosen;
    for (const Check& check : checks) {
        if (selected(line, registry, check)) {
            chosen.push_back(check);
        }
    }
    if (chosen.empty()) {
        return usageError("no check matches the selection");
    }
    if (line.list) {
        for (const Check& check : chosen) {
            std::printf("%-44s %c  %s\n", check.id, tierOf(registry, check.id),
                        assumptionsOf(registry, check.id).c_str());
        }
        return 0;
    }
    return runChecks(chosen, line);
}
