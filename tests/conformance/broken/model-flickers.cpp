// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A model query that answers from a sensor read each time and so changes its mind between calls.
#include <atomic>

#include "HardwareVersion.h"
#include "Next.h"

bool HardwareVersion::is_Tern() {
    static std::atomic<unsigned> calls{0};
    using Query = bool (*)();
    static const Query query = nextDefinition<Query>("_ZN15HardwareVersion7is_TernEv");
    return calls++ % 2 == 0 ? query() : !query();
}
