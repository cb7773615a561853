#pragma once
// What the fuzz targets share: a module object and the tests' router fixture (mapped as
// fritz.box:80) for the whole run, a log capture, and the walk check two targets make.
#include <cstddef>
#include <cstdint>
#include <string>

#include "FritzBox.h"
#include "LogCapture.h"
#include "ModuleFixture.h"

// Stops the run with a readable message when an invariant does not hold: assert() would vanish
// with NDEBUG, and libFuzzer keeps the input of an abort.
#define FUZZ_CHECK(condition) \
    ((condition) ? static_cast<void>(0) : fuzzharness::failCheck(#condition, __FILE__, __LINE__))

namespace fuzzharness {

[[noreturn]] void failCheck(const char* condition, const char* file, int line);

// The router answers every photo with a small picture; it keeps no request history, so a run of
// millions of inputs does not grow.
struct Session {
    testsupport::LogCapture logs{7};
    testsupport::TestRouter router;
    FritzBox box{"admin", "geheim"};
    FritzBoxTestAccess access{box};

    Session();
};

// The module's single-pass walk hands out what repeated ClientUtils::getStringBetweenKeywords
// calls on a copy of `text` do (the way the module cut records before the walk).
void checkWalkCutsAsRepeatedExtraction(const std::string& text, const std::string& begin, const std::string& end);

}  // namespace fuzzharness
