#pragma once
// The harness every fuzz target shares: one router session for the whole run (the tests' router
// fixture, mapped as fritz.box:80), a log capture, and the invariants checked after each input.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FritzBox.h"
#include "LogCapture.h"
#include "ModuleFixture.h"

// Stops the run with a readable message when an invariant does not hold.
#define FUZZ_CHECK(condition) \
    ((condition) ? static_cast<void>(0) : fuzzharness::failCheck(#condition, __FILE__, __LINE__))

namespace fuzzharness {

// Distinctive, so that finding it anywhere is a leak and never a coincidence.
extern const char* const kPassword;

[[noreturn]] void failCheck(const char* condition, const char* file, int line);
std::string asString(const std::uint8_t* data, std::size_t size);

// The log lines and requests of one input. The router logs every request's text and answers
// every photo with a small picture; it keeps no request history, so a run of millions of inputs
// does not grow.
struct Session {
    testsupport::LogCapture logs{9};
    testsupport::TestRouter router{kPassword};
    std::string requestText;  // request lines, headers and bodies of the current input
    FritzBox box{"admin", kPassword};
    FritzBoxTestAccess access{box};

    Session();
    // Forgets the requests and log lines of the previous input.
    void startInput();
    // The password shows up in a log line or a request only where `input` carries it (the module
    // echoes rejected records and asks for the photo names it was given).
    void checkPasswordKept(const std::string& input) const;
};

// What repeated ClientUtils::getStringBetweenKeywords calls on a copy of `text` hand out: the
// way the module's loops cut records before the single-pass walk.
std::vector<std::string> extractedRepeatedly(std::string text, const std::string& begin, const std::string& end);
// The same through the module's walk.
std::vector<std::string> walked(const std::string& text, const std::string& begin, const std::string& end);

// True when every tag of `document` after the XML declaration is closed in order, there is one
// root, and no text holds a "<" that starts no tag.
bool tagsBalanced(const std::string& document);

// Every file the module stored is a regular file directly inside the picture directory, and so is
// everything found there; the directory is emptied for the next input.
void checkAndClearPictures(const std::vector<std::string>& storedPaths);

}  // namespace fuzzharness
