// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Logging: every line of the module goes through logAppQel, tracing lines only after
// loggingOnAppQel said level 6 is on; logging also runs in the module's destructor.
#include <cstdio>

#include "Adapter.h"
#include "Kit.h"
#include "LogTap.h"
#include "Logging.h"

namespace conformance {

namespace {

const char* const kModule = "Broadsoft Service";
const char* const kSource = "./src/FritzBox";

void requireTap(const Context& context) {
    if (!context.log.available()) {
        skip("a log source: an adapter that captures the log, or --log-from stderr|FILE");
    }
}

bool written(Context& context, const std::string& text) {
    return context.log.text().find(text) != std::string::npos;
}

void printfConversions(Context& context) {
    requireTap(context);
    void* const pointer = reinterpret_cast<void*>(0x1234);
    char expected[128];
    std::snprintf(expected, sizeof expected, "kit printf %s|%d|%p|", "text", -42, pointer);
    context.log.begin();
    logAppQel(kModule, kSource, 2, 1, "kit printf %s|%d|%p|", "text", -42, pointer);
    expectTrue(written(context, expected), "a line with " + quoted(expected), quoted(context.log.text()));
}

// Whole answers of the router are logged: long, with line breaks, invalid UTF-8 and % signs.
void longArguments(Context& context) {
    std::string argument = "kit long <<";
    for (int i = 0; argument.size() < 200000; ++i) {
        argument += "line\r\n\xff\xfe %s %n %% " + std::to_string(i) + " ";
    }
    context.log.begin();
    logAppQel(kModule, kSource, 2, 2, "connectionHandler() unexpected response\n%s\n", argument.c_str());
    // How a line shows control bytes is the platform's choice (a logger may escape them), so the
    // kit asks for the argument's printable start and for at least 4 KiB of text, not for bytes.
    if (context.log.available()) {
        expectTrue(written(context, "kit long <<line") && context.log.text().size() >= 4096,
                   "the argument's start and at least 4 KiB of text written", quoted(context.log.text()));
    }
}

void logEverything() noexcept {
    const std::string big(10000, 'x');
    for (int level : {2, 4, 6}) {
        if (loggingOnAppQel(kModule, level) || level == 2) {
            logAppQel(kModule, kSource, level, 3, "kit no-throw %s %d %p", big.c_str(), level, nullptr);
        }
    }
}

void neverThrows(Context&) {
    // A throw out of a noexcept function ends the process (std::terminate), as it would in ~FritzBox.
    for (int round = 0; round < 100; ++round) {
        logEverything();
    }
}

void levelTwoAlways(Context& context) {
    requireTap(context);
    const bool levelSet = context.adapter.setLogLevel(1);
    context.log.begin();
    logAppQel(kModule, kSource, 2, 4, "kit level two %d", 2);
    expectTrue(written(context, "kit level two 2"),
               std::string("the level-2 line written") + (levelSet ? " with the level set to 1" : ""),
               quoted(context.log.text()));
}

void queryMatchesWriting(Context& context) {
    requireTap(context);
    for (const int level : {6, 2}) {
        const bool levelSet = context.adapter.setLogLevel(level);
        const bool on = loggingOnAppQel(kModule, 6);
        if (levelSet) {
            expectTrue(on == (level == 6),
                       std::string("loggingOnAppQel(6) ") + (level == 6 ? "true" : "false") +
                           " with the level set to " + std::to_string(level),
                       on ? "true" : "false");
        }
        context.log.begin();
        logAppQel(kModule, kSource, 6, 5, "kit trace %d", level);
        const bool wasWritten = written(context, "kit trace " + std::to_string(level));
        expectTrue(wasWritten == on,
                   std::string("a level-6 line ") + (on ? "written" : "not written") +
                       " while loggingOnAppQel(6) says " + (on ? "true" : "false"),
                   wasWritten ? "it was written" : "it was not");
    }
}

}  // namespace

std::vector<Check> logChecks() {
    return {
        {"log.printf-conversions", printfConversions, 10},
        {"log.long-arguments", longArguments, 10},
        {"log.never-throws", neverThrows, 20},
        {"log.level2-always", levelTwoAlways, 10},
        {"log.query-matches-writing", queryMatchesWriting, 10},
    };
}

}  // namespace conformance
