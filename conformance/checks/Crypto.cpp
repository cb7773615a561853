// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Cryptographer::md5: the login's response and the change tokens. Expectations are literal digests
// and the kit's own MD5, never the platform's.
#include "Cryptographer.h"
#include "Kit.h"
#include "Md5.h"

namespace conformance {

using routersim::md5Hex;

namespace {

std::string platformMd5(const std::string& data) {
    const Cryptographer cryptographer;
    return cryptographer.md5(data);
}

void literalDigests(Context&) {
    std::string widenedLogin;
    for (const char byte : std::string("1234567z-\xc3\xa4"
                                       "bc")) {
        widenedLogin += byte;
        widenedLogin += '\0';
    }
    const std::pair<std::string, const char*> rows[] = {
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {widenedLogin, "bb6e5b7c7d4d485590f4e084ad3da989"}};
    for (const auto& [input, digest] : rows) {
        expectEqual("the MD5 of " + quoted(input), digest, platformMd5(input));
    }
}

void binaryInput(Context&) {
    std::string allBytes;
    for (int byte = 0; byte < 256; ++byte) {
        allBytes += static_cast<char>(byte);
    }
    const std::string rows[] = {std::string(1, '\0'), std::string("a\0b", 3), std::string("\0\0\0\0", 4), allBytes};
    for (const std::string& input : rows) {
        expectEqual("the MD5 of " + quoted(input), md5Hex(input), platformMd5(input));
    }
}

void largeInput(Context&) {
    std::string input(16u << 20, '\0');
    for (std::size_t i = 0; i < input.size(); ++i) {
        input[i] = static_cast<char>((i * 2654435761u) >> 13);
    }
    expectEqual("the MD5 of 16 MiB", md5Hex(input), platformMd5(input));
}

void stable(Context&) {
    expectEqual("the MD5 of the empty string", "d41d8cd98f00b204e9800998ecf8427e", platformMd5(""));
    const Cryptographer one;
    const std::string first = one.md5("call list");
    const std::string between = one.md5("export");
    for (int round = 0; round < 3; ++round) {
        const Cryptographer another;
        expectEqual("the same digest from a later call and another object", first, another.md5("call list"));
        expectEqual("the same digest from the first object again", first, one.md5("call list"));
    }
    expectEqual("the MD5 of \"export\"", md5Hex("export"), between);
}

}  // namespace

std::vector<Check> cryptoChecks() {
    return {
        {"crypto.md5.literal-digests", literalDigests, 10},
        {"crypto.md5.binary-input", binaryInput, 10},
        {"crypto.md5.large-input", largeInput, 30},
        {"crypto.md5.stable", stable, 10},
    };
}

}  // namespace conformance
