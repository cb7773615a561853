// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// What every check of the conformance kit is made of. A check exercises the platform under test
// and compares what comes with an expectation of the kit's own (literal texts, the kit's MD5, the
// kit's router); it returns normally when the platform behaved, and ends with fail() or skip()
// otherwise. Each check runs in a process of its own (see Runner.h).
#include <cstddef>
#include <string>
#include <vector>

namespace conformance {

class Adapter;
class LogTap;

// The kit's command line, as the checks see it.
struct Settings {
    std::string model;                   // the phone model the platform claims: tern, gull, wren, other; empty: unknown
    std::string scratch;                 // a writable directory of the kit's own
    unsigned slow = 1;                   // every time bound is multiplied by this (qemu: 4)
    bool allowPictureDirectory = false;  // --allow-picture-directory
    bool pictureDirectoryInUse = false;  // it existed before the kit ran and may belong to a running service
    std::string logFrom;                 // "stderr" or a file the platform's log lines are appended to
};

// What a running check is given.
struct Context {
    const Settings& settings;
    Adapter& adapter;
    LogTap& log;
    std::string directory;  // a fresh, empty directory for this check alone
};

struct Check {
    const char* id;
    void (*run)(Context&);
    unsigned boundSeconds;  // before --slow; a check still running then is stopped and fails
};

// The checks of one group each, in the order they run.
std::vector<Check> loadChecks();
std::vector<Check> abiChecks();
std::vector<Check> textChecks();
std::vector<Check> cryptoChecks();
std::vector<Check> storageChecks();
std::vector<Check> hardwareChecks();
std::vector<Check> logChecks();
std::vector<Check> serializerChecks();
std::vector<Check> transportChecks();
std::vector<Check> httpChecks();
std::vector<Check> endToEndChecks();

// How a check ends when the platform did not behave: "<expected>, <came>" in the report.
struct Failure {
    std::string text;
};
// How a check ends when the setup lacks what it needs (no log source, no model given).
struct Skipped {
    std::string reason;
};

[[noreturn]] void fail(const std::string& expected, const std::string& came);
[[noreturn]] void skip(const std::string& reason);
// fail() unless `came` equals `expected`; `what` names the value.
void expectEqual(const std::string& what, const std::string& expected, const std::string& came);
void expectEqual(const std::string& what, long long expected, long long came);
void expectTrue(bool condition, const std::string& expected, const std::string& came);

// A C++ name as the source spells it ("GPALException" for "13GPALException").
std::string demangled(const char* mangledName);

// `bytes` as a C string literal (escapes for control and non-ASCII bytes), cut in the middle when
// longer than `limit` characters, so that a report line stays readable.
std::string quoted(const std::string& bytes, std::size_t limit = 80);

}  // namespace conformance
