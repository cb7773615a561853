// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
#include <string>

// Message digests of the host platform. The module builds one on its stack (our sizeof: the class
// has no data member); constructing and destroying it has no other effect and throws nothing.
class Cryptographer {
public:
    Cryptographer();
    ~Cryptographer();
    // MD5 of the given bytes as 32 lower-case hexadecimal digits. All of `data.size()` bytes count,
    // NUL bytes included (the login digest is taken over text widened to 16 bits, every other byte
    // 0), and inputs of several megabytes (a whole phonebook export) in one call. The same bytes
    // give the same text in every object, call and process: the host keeps it as a change token
    // and compares it byte for byte; the router compares the login digest with its own lower-case
    // hex.
    std::string md5(const std::string& data) const;
};
