// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A connection that always says it is usable, also after the router hung up or it was closed.
#include "SecureTransport.h"

bool SecureConnection::isUsable() const {
    return true;
}
