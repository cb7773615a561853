// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that follows redirects but never tells where they led.
#include "HttpClient.h"

std::string HttpClient::getRedirectHost() {
    return std::string();
}
