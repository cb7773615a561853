// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// An MD5 of the router model's own (RFC 1321), so that the model needs nothing but the C++ library:
// the login digest the router grants is computed with it, and the conformance kit computes the
// expectations of its hashing and login checks with it, never with the platform's Cryptographer.
// selfTestMd5() checks it on the RFC's vectors (the kit does so before any check runs).
#include <string>

namespace routersim {

// The digest of `data` as 32 lower-case hexadecimal digits.
std::string md5Hex(const std::string& data);
// Empty when the kit's MD5 gives the RFC's digests, else which vector it missed.
std::string selfTestMd5();

}  // namespace routersim
