// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
#include <stdexcept>
#include <string>

// Base of the exceptions that the host platform throws. The module catches only the derived
// SecureTransportException, from the transport constructors; a GPALException of another kind
// passes through it to the service.
class GPALException : public std::runtime_error {
public:
    explicit GPALException(const std::string& message) : std::runtime_error(message) {}
};
