// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that sends every request as GET, the upload of the export form included.
#include "Real.h"

int HttpClient::sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int followRedirects) {
    method = GET;
    return real::sendRequest(this, connection, method, timeoutSeconds, std::move(headers), path, body, bodyLength,
                             authUser, authPassword, keepAlive, followRedirects);
}
