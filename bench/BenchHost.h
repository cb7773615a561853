// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// What every benchmark sets up on the host side before it builds a FritzBox.
#include "LinuxPlatform.h"

namespace benchhost {

// Log level 2, whatever FRITZBOX_LOG_LEVEL says, so no trace line is formatted; the level-2 lines
// the module writes for rejected records are still formatted but then dropped instead of flooding
// the benchmark's output. The phone model decides about photos: Tern, Gull and Wren fetch them,
// Other does not.
inline void prepare(linux_platform::PhoneModel model) {
    linux_platform::setLogLevel(2);
    linux_platform::setLogSink([](const linux_platform::LogRecord&) {});
    linux_platform::setPhoneModel(model);
}

}  // namespace benchhost
