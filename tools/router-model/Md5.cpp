// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Md5.h"

#include <cstdint>
#include <cstring>

namespace routersim {

namespace {

// Per-round shift amounts and the sine-derived constants of RFC 1321, section 3.4.
const std::uint8_t kShifts[64] = {7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22,
                                  5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20,
                                  4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23,
                                  6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21};
const std::uint32_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

std::uint32_t rotateLeft(std::uint32_t value, unsigned bits) {
    return (value << bits) | (value >> (32 - bits));
}

void processBlock(const unsigned char* block, std::uint32_t state[4]) {
    std::uint32_t words[16];
    for (int i = 0; i < 16; ++i) {
        words[i] = static_cast<std::uint32_t>(block[4 * i]) | static_cast<std::uint32_t>(block[4 * i + 1]) << 8 |
                   static_cast<std::uint32_t>(block[4 * i + 2]) << 16 |
                   static_cast<std::uint32_t>(block[4 * i + 3]) << 24;
    }
    std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    for (int i = 0; i < 64; ++i) {
        std::uint32_t mixed;
        int word;
        if (i < 16) {
            mixed = (b & c) | (~b & d);
            word = i;
        } else if (i < 32) {
            mixed = (d & b) | (~d & c);
            word = (5 * i + 1) % 16;
        } else if (i < 48) {
            mixed = b ^ c ^ d;
            word = (3 * i + 5) % 16;
        } else {
            mixed = c ^ (b | ~d);
            word = (7 * i) % 16;
        }
        const std::uint32_t next = b + rotateLeft(a + mixed + kSines[i] + words[word], kShifts[i]);
        a = d;
        d = c;
        c = b;
        b = next;
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

}  // namespace

std::string md5Hex(const std::string& data) {
    std::uint32_t state[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    const std::size_t whole = data.size() / 64 * 64;
    for (std::size_t at = 0; at < whole; at += 64) {
        processBlock(bytes + at, state);
    }
    // The tail, the 0x80 marker, zeros to 56 bytes modulo 64, and the bit length, little-endian.
    unsigned char tail[128] = {};
    const std::size_t rest = data.size() - whole;
    std::memcpy(tail, bytes + whole, rest);
    tail[rest] = 0x80;
    const std::size_t tailLength = rest < 56 ? 64 : 128;
    const std::uint64_t bits = static_cast<std::uint64_t>(data.size()) * 8;
    for (int i = 0; i < 8; ++i) {
        tail[tailLength - 8 + i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    for (std::size_t at = 0; at < tailLength; at += 64) {
        processBlock(tail + at, state);
    }
    static const char kHex[] = "0123456789abcdef";
    std::string hex;
    for (const std::uint32_t word : state) {
        for (int i = 0; i < 4; ++i) {
            const unsigned byte = (word >> (8 * i)) & 0xff;
            hex += kHex[byte >> 4];
            hex += kHex[byte & 0xf];
        }
    }
    return hex;
}

std::string selfTestMd5() {
    // RFC 1321, appendix A.5.
    const std::pair<const char*, const char*> vectors[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"}};
    for (const auto& [text, digest] : vectors) {
        if (md5Hex(text) != digest) {
            return std::string("MD5(\"") + text + "\") is not " + digest;
        }
    }
    return "";
}

}  // namespace routersim
