// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The process-wide side of the transport behind LinuxPlatform.h: the counters the connections and
// the HTTP client bump, and the time-limit overrides a program or test set.
#include <string>

#include "LinuxPlatform.h"

namespace linux_platform {
namespace detail {

void countConnectionOpened();
void countRequestSent();
void noteRequest(const std::string& target);
void noteAnswer(int status);
void noteFailure(const std::string& reason);
TimeLimitOverrides timeLimitOverrides();

}  // namespace detail
}  // namespace linux_platform
