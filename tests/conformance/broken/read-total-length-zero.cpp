// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that never fills in the total length.
#include "Real.h"

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    const int result =
        real::readResponse(this, connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
    totalLength = 0;
    return result;
}
