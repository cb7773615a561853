// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The login response a client must send for a challenge, in the phone module's form and in the
// real router's form. Both hash 16-bit little-endian code units; they differ in how the text
// becomes code units and in the "<challenge>-" prefix of the router's form. The digest is the
// model's own MD5 (Md5.h), never the platform's: the router checks the module's login, so it must
// not share the code that computes it.
#include <cstdint>

#include "LoginForm.h"
#include "Md5.h"

namespace routersim {
namespace {

// Each byte followed by a zero byte: the UTF-16LE form of text whose characters are all below 256.
std::string widenEachByte(const std::string& bytes) {
    std::string wide;
    wide.reserve(bytes.size() * 2);
    for (char byte : bytes) {
        wide += byte;
        wide += '\0';
    }
    return wide;
}

// Number of bytes of the UTF-8 sequence that `lead` starts, 0 when it starts none.
std::size_t utf8SequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xc2 && lead <= 0xdf) {
        return 2;
    }
    if (lead >= 0xe0 && lead <= 0xef) {
        return 3;
    }
    if (lead >= 0xf0 && lead <= 0xf4) {
        return 4;
    }
    return 0;
}

// Decodes UTF-8 into one byte per character, as the router does before hashing: characters up
// to U+00FF keep their value, every other character (and every malformed byte) becomes '.'.
std::string utf8ToLatin1WithDots(const std::string& utf8) {
    std::string latin1;
    std::size_t pos = 0;
    while (pos < utf8.size()) {
        const auto lead = static_cast<unsigned char>(utf8[pos]);
        std::size_t length = utf8SequenceLength(lead);
        bool wellFormed = length != 0 && pos + length <= utf8.size();
        for (std::size_t i = 1; wellFormed && i < length; ++i) {
            wellFormed = (static_cast<unsigned char>(utf8[pos + i]) & 0xc0) == 0x80;
        }
        if (!wellFormed) {
            latin1 += '.';
            ++pos;
            continue;
        }
        if (length == 1) {
            latin1 += static_cast<char>(lead);
        } else if (length == 2) {
            // Two-byte sequences from C2 and C3 encode U+0080..U+00FF; higher leads go beyond.
            const unsigned codePoint = ((lead & 0x1fu) << 6) | (static_cast<unsigned char>(utf8[pos + 1]) & 0x3fu);
            latin1 += codePoint <= 0xff ? static_cast<char>(codePoint) : '.';
        } else {
            latin1 += '.';
        }
        pos += length;
    }
    return latin1;
}

}  // namespace

std::string loginResponse(const std::string& challenge, const std::string& password, LoginForm form) {
    const std::string text = challenge + "-" + password;
    if (form == LoginForm::Module) {
        return md5Hex(widenEachByte(text));
    }
    return challenge + "-" + md5Hex(widenEachByte(utf8ToLatin1WithDots(text)));
}

}  // namespace routersim
