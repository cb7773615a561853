// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Equivalent: a client that adds a header of its own to every request.
#include "Real.h"

int HttpClient::sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int followRedirects) {
    headers.emplace("X-Firmware", "1.2.3");
    return real::sendRequest(this, connection, method, timeoutSeconds, std::move(headers), path, body, bodyLength,
                             authUser, authPassword, keepAlive, followRedirects);
}
