// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that gives the redirect host with its port, where the module wants the host alone.
#include "Real.h"

std::string HttpClient::getRedirectHost() {
    const std::string host = real::getRedirectHost(this);
    return host.empty() ? host : host + ":80";
}
