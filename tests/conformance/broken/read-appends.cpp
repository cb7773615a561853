// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A first read that appends to the response string instead of replacing what it held: a virtual
// operation replaced (the module reaches it through the platform's vtable).
#include <string>

#include "Real.h"

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    const std::string before = responseData;
    const int result =
        real::readResponse(this, connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
    responseData.insert(0, before);
    return result;
}
