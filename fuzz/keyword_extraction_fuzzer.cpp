// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// ClientUtils::getStringBetweenKeywords against its contract, checked with std::search (the code
// uses std::string::find): the first `begin`, the first `end` after it, the text between them
// handed out and the whole occurrence removed with the text before and after kept; no change at
// all without a pair. The module's single-pass walk must hand out what repeated extraction does,
// for any keywords.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>

#include "ClientUtils.h"
#include "FuzzHarness.h"

namespace {

// The first position at or after `from` where a non-empty `word` starts, or npos.
std::size_t firstAt(const std::string& text, const std::string& word, std::size_t from) {
    const auto at =
        from > text.size() ? text.end() : std::search(text.begin() + from, text.end(), word.begin(), word.end());
    return word.empty() || at == text.end() ? std::string::npos : static_cast<std::size_t>(at - text.begin());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    const std::string begin = provider.ConsumeRandomLengthString(16);
    const std::string end = provider.ConsumeRandomLengthString(16);
    const std::string original = provider.ConsumeRemainingBytesAsString();
    fuzzharness::checkWalkCutsAsRepeatedExtraction(original, begin, end);

    std::string source = original;
    std::string out = "untouched";
    const bool found = ClientUtils::getStringBetweenKeywords(source, out, begin, end);
    const std::size_t beginAt = firstAt(original, begin, 0);
    const std::size_t contentAt = beginAt == std::string::npos ? beginAt : beginAt + begin.size();
    const std::size_t endAt = firstAt(original, end, contentAt);
    FUZZ_CHECK(found == (endAt != std::string::npos));
    FUZZ_CHECK(found ? out == original.substr(contentAt, endAt - contentAt) &&
                           source == original.substr(0, beginAt) + original.substr(endAt + end.size())
                     : source == original && out == "untouched");
    return 0;
}
