// ClientUtils::getStringBetweenKeywords against its contract, checked with a plain byte-by-byte
// search: the first `begin`, the first `end` after it, the text between them handed out and the
// whole occurrence removed with the text before and after kept; no change at all without a pair.
// The module's single-pass walk must hand out what repeated extraction does, for any keywords.
#include <fuzzer/FuzzedDataProvider.h>

#include "ClientUtils.h"
#include "FuzzHarness.h"

namespace {

const std::string kUntouched = "untouched";

// The first position at or after `from` where `word` starts, or npos.
std::size_t naiveFind(const std::string& text, const std::string& word, std::size_t from) {
    for (std::size_t at = from; at + word.size() <= text.size(); ++at) {
        std::size_t matched = 0;
        while (matched < word.size() && text[at + matched] == word[matched]) {
            ++matched;
        }
        if (matched == word.size()) {
            return at;
        }
    }
    return std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider provider(data, size);
    const std::string begin = provider.ConsumeRandomLengthString(16);
    const std::string end = provider.ConsumeRandomLengthString(16);
    const std::string original = provider.ConsumeRemainingBytesAsString();

    std::string source = original;
    std::string out = kUntouched;
    const bool found = ClientUtils::getStringBetweenKeywords(source, out, begin, end);

    const std::size_t beginAt = begin.empty() ? std::string::npos : naiveFind(original, begin, 0);
    const std::size_t contentAt = beginAt == std::string::npos ? beginAt : beginAt + begin.size();
    const std::size_t endAt =
        end.empty() || contentAt == std::string::npos ? std::string::npos : naiveFind(original, end, contentAt);
    FUZZ_CHECK(found == (endAt != std::string::npos));
    FUZZ_CHECK(fuzzharness::walked(original, begin, end) == fuzzharness::extractedRepeatedly(original, begin, end));
    if (!found) {
        FUZZ_CHECK(source == original && out == kUntouched);
        return 0;
    }
    FUZZ_CHECK(out == original.substr(contentAt, endAt - contentAt));
    FUZZ_CHECK(source == original.substr(0, beginAt) + original.substr(endAt + end.size()));
    return 0;
}
