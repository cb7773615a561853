// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that reports every answer it could read as 200 OK.
#include "Real.h"

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    const int result =
        real::readResponse(this, connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
    if (result != FAILURE) {
        statusCode = eStatusOk;
    }
    return result;
}
