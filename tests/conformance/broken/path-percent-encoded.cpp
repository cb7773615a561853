// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that percent-encodes the request path it is given (space, quote, percent and bytes
// over 0x7f), where the module hands over the path exactly as it must travel.
#include <cstdio>
#include <string>

#include "Real.h"

int HttpClient::sendRequest(SecureConnection* connection, HTTPMETHOD method, int timeoutSeconds, HeaderMap headers,
                            const char* path, const char* body, std::size_t bodyLength, const std::string& authUser,
                            const std::string& authPassword, int keepAlive, int followRedirects) {
    std::string encoded;
    for (const char* at = path; *at != 0; ++at) {
        const unsigned char c = static_cast<unsigned char>(*at);
        if (c <= ' ' || c >= 0x7f || c == '"' || c == '%') {
            char escape[4];
            std::snprintf(escape, sizeof escape, "%%%02X", c);
            encoded += escape;
        } else {
            encoded += static_cast<char>(c);
        }
    }
    path = encoded.c_str();
    return real::sendRequest(this, connection, method, timeoutSeconds, std::move(headers), path, body, bodyLength,
                             authUser, authPassword, keepAlive, followRedirects);
}
