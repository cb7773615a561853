// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that ignores the destination it is given and sends over the connection to whatever
// host that connection was opened to.
#include "HttpClient.h"

void HttpClient::setDestinationHost(const std::string&, const std::string&) {}
