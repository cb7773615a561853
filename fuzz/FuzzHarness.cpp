// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "FuzzHarness.h"

#include <cstdio>
#include <cstdlib>

#include "ClientUtils.h"
#include "ExportWalk.h"

namespace fuzzharness {

void failCheck(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "fuzz invariant violated at %s:%d: %s\n", file, line, condition);
    std::abort();
}

void checkWalkCutsAsRepeatedExtraction(const std::string& text, const std::string& begin, const std::string& end) {
    std::string rest = text;
    std::string between;
    fritzbox_detail::forEachExtraction(text, begin, end, [&](std::string& walked) {
        FUZZ_CHECK(ClientUtils::getStringBetweenKeywords(rest, between, begin, end) && between == walked);
        return true;
    });
    FUZZ_CHECK(!ClientUtils::getStringBetweenKeywords(rest, between, begin, end));
}

}  // namespace fuzzharness
