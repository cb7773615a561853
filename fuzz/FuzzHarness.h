// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// What the fuzz targets share: a check that stops the run readably, and the walk check two targets
// make.
#include <cstddef>
#include <cstdint>
#include <string>

// Stops the run with a readable message when an invariant does not hold: assert() would vanish
// with NDEBUG, and libFuzzer keeps the input of an abort.
#define FUZZ_CHECK(condition) \
    ((condition) ? static_cast<void>(0) : fuzzharness::failCheck(#condition, __FILE__, __LINE__))

namespace fuzzharness {

[[noreturn]] void failCheck(const char* condition, const char* file, int line);

// The module's single-pass walk hands out what repeated ClientUtils::getStringBetweenKeywords
// calls on a copy of `text` do.
void checkWalkCutsAsRepeatedExtraction(const std::string& text, const std::string& begin, const std::string& end);

}  // namespace fuzzharness
