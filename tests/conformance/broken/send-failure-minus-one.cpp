// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client whose failed send returns -1, as the socket call did, instead of FAILURE.
#include "Real.h"

int HttpClient::sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int followRedirects) {
    const int result = real::sendRequest(this, connection, method, timeoutSeconds, std::move(headers), path, body,
                                         bodyLength, authUser, authPassword, keepAlive, followRedirects);
    return result == FAILURE ? -1 : result;
}
