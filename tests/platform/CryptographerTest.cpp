#include <gtest/gtest.h>

#include "Cryptographer.h"

namespace {

TEST(Md5, MatchesKnownDigests) {
    const Cryptographer cryptographer;
    EXPECT_EQ(cryptographer.md5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(cryptographer.md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(cryptographer.md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
}

// The router's login answer hashes "challenge-password" as UTF-16LE: every other byte is zero,
// and all of them count. Expected value from python3 hashlib.
TEST(Md5, HashesEmbeddedZeroBytes) {
    std::string utf16;
    for (const char c : std::string("1234567z-\xE4"
                                    "bc")) {
        utf16 += c;
        utf16 += '\0';
    }
    EXPECT_EQ(Cryptographer().md5(utf16), "9e224a41eeefa284df7bb0f26c2913e2");
}

}  // namespace
