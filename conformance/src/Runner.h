// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Runs each check in a process of its own, so that whatever the platform does (a crash, an
// exception that escapes, a hang) ends that check alone: the report names the signal, the
// exception or the time bound, and the run goes on.
#include <string>

#include "Kit.h"

namespace conformance {

enum class Verdict { Passed, Failed, Skipped };

struct Outcome {
    Verdict verdict;
    std::string detail;  // why it failed or was skipped
};

Outcome runIsolated(const Check& check, const Settings& settings, bool keepStderr);

// A process that a check forks (the kit's router) calls this first, so that the check's verdict
// channel ends when the check ends.
void closeVerdictChannel();

}  // namespace conformance
