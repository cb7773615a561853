// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The kit's own MD5 (RFC 1321): the expectations of the hashing and login checks are computed
// with it, never with the platform's Cryptographer. selfTestMd5() checks it on the RFC's vectors
// before any check runs.
#include <string>

namespace conformance {

// The digest of `data` as 32 lower-case hexadecimal digits.
std::string md5Hex(const std::string& data);
// Empty when the kit's MD5 gives the RFC's digests, else which vector it missed.
std::string selfTestMd5();

}  // namespace conformance
