// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The module's log lines: every line names the module and the source path "./src/FritzBox", the
// name the phone's log filters know the router client by, whichever file of src/ writes it.
#include "Logging.h"

namespace fritzbox_detail {

constexpr const char* kModuleName = "Broadsoft Service";
constexpr const char* kSourcePath = "./src/FritzBox";

inline bool traceEnabled() {
    return loggingOnAppQel(kModuleName, 6);
}

inline const char* boolText(bool value) {
    return value ? "true" : "false";
}

}  // namespace fritzbox_detail

#define FRITZBOX_LOG(level, ...) \
    logAppQel(fritzbox_detail::kModuleName, fritzbox_detail::kSourcePath, level, __LINE__, __VA_ARGS__)
// Tracing lines are formatted only when the host has level 6 switched on.
#define FRITZBOX_TRACE(...)                    \
    do {                                       \
        if (fritzbox_detail::traceEnabled()) { \
            FRITZBOX_LOG(6, __VA_ARGS__);      \
        }                                      \
    } while (false)
