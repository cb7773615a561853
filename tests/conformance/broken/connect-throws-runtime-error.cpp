// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A connection that reports a refused connect as a std::runtime_error, not a SecureTransportException.
#include <stdexcept>

#include "Real.h"

SecureConnection::SecureConnection(SecureTransportContext& context, const std::string& host, const std::string& port,
                                   unsigned connectTimeoutSeconds, unsigned ioTimeoutSeconds, bool plainText) {
    try {
        real::constructConnection(this, context, host, port, connectTimeoutSeconds, ioTimeoutSeconds, plainText);
    } catch (const SecureTransportException& exception) {
        throw std::runtime_error(exception.what());
    }
}
