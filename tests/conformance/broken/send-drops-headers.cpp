// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that sends only the headers it makes itself and drops the caller's (the export's
// multipart content type among them).
#include "Real.h"

int HttpClient::sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int followRedirects) {
    headers.clear();
    return real::sendRequest(this, connection, method, timeoutSeconds, std::move(headers), path, body, bodyLength,
                             authUser, authPassword, keepAlive, followRedirects);
}
