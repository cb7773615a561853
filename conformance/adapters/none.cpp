// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The adapter of a platform that offers the kit no hooks: the router's name reaches the kit's
// router through a hosts entry and port 80, the log is read with --log-from, the model is --model.
#include "Adapter.h"

namespace conformance {

Adapter& platformAdapter() {
    struct NoHooks : Adapter {
        const char* name() const override { return "none"; }
    };
    static NoHooks adapter;
    return adapter;
}

}  // namespace conformance
