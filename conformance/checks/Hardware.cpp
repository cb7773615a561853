// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// HardwareVersion: the three questions that decide whether contact pictures are fetched.
#include "HardwareVersion.h"
#include "Kit.h"

namespace conformance {

namespace {

std::string answers() {
    return std::string("is_Tern ") + (HardwareVersion::is_Tern() ? "true" : "false") + ", is_Gull_any " +
           (HardwareVersion::is_Gull_any() ? "true" : "false") + ", is_Wren_any " +
           (HardwareVersion::is_Wren_any() ? "true" : "false");
}

void claimedModel(Context& context) {
    const std::string& model = context.settings.model;
    if (model.empty()) {
        skip("--model names the phone model the platform answers for");
    }
    const std::string expected = std::string("is_Tern ") + (model == "tern" ? "true" : "false") + ", is_Gull_any " +
                                 (model == "gull" ? "true" : "false") + ", is_Wren_any " +
                                 (model == "wren" ? "true" : "false");
    expectEqual("for model " + model, expected, answers());
}

void stableAnswers(Context&) {
    const std::string first = answers();
    for (int round = 0; round < 10000; ++round) {
        const std::string now = answers();
        if (now != first) {
            fail("the same answers 10000 times (" + first + ")", now + " in round " + std::to_string(round));
        }
    }
}

}  // namespace

std::vector<Check> hardwareChecks() {
    return {
        {"hardware.model.claimed", claimedModel, 10},
        {"hardware.model.stable", stableAnswers, 20},
    };
}

}  // namespace conformance
