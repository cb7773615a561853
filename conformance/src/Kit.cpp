// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Kit.h"

#include <cxxabi.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace conformance {

void fail(const std::string& expected, const std::string& came) {
    throw Failure{"expected " + expected + ", got " + came};
}

void skip(const std::string& reason) {
    throw Skipped{reason};
}

namespace {

// Up to 70 bytes of `bytes` around byte `at`, marked where they are cut.
std::string excerpt(const std::string& bytes, std::size_t at) {
    const std::size_t start = at > 30 ? at - 30 : 0;
    return (start > 0 ? "..." : "") + quoted(bytes.substr(start, 70), 300) + (start + 70 < bytes.size() ? "..." : "") +
           " (" + std::to_string(bytes.size()) + " bytes)";
}

}  // namespace

void expectEqual(const std::string& what, const std::string& expected, const std::string& came) {
    if (came == expected) {
        return;
    }
    if (expected.size() <= 80 && came.size() <= 80) {
        fail(what + " " + quoted(expected), quoted(came));
    }
    const std::size_t differ = static_cast<std::size_t>(
        std::mismatch(expected.begin(), expected.begin() + std::min(expected.size(), came.size()), came.begin()).first -
        expected.begin());
    fail(what + " " + excerpt(expected, differ),
         excerpt(came, differ) + ", first difference at byte " + std::to_string(differ));
}

void expectEqual(const std::string& what, long long expected, long long came) {
    if (came != expected) {
        fail(what + " " + std::to_string(expected), std::to_string(came));
    }
}

void expectTrue(bool condition, const std::string& expected, const std::string& came) {
    if (!condition) {
        fail(expected, came);
    }
}

std::string demangled(const char* mangledName) {
    int status = 0;
    char* name = abi::__cxa_demangle(mangledName, nullptr, nullptr, &status);
    const std::string text = status == 0 && name != nullptr ? name : mangledName;
    std::free(name);
    return text;
}

std::string quoted(const std::string& bytes, std::size_t limit) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (byte >= 0x20 && byte < 0x7f) {
            text += c;
        } else {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02x", byte);
            text += escape;
        }
    }
    if (text.size() > limit) {
        text = text.substr(0, limit / 2) + "..." + text.substr(text.size() - limit / 2) + " (" +
               std::to_string(bytes.size()) + " bytes)";
    }
    return "\"" + text + "\"";
}

}  // namespace conformance
