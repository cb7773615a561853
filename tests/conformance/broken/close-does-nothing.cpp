// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A close that leaves the socket open until the connection is deleted.
#include "SecureTransport.h"

void SecureConnection::close() {}
