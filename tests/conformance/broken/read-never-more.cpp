// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that reports a body longer than the caller's limit as complete: the rest is lost.
#include "Real.h"

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    const int result =
        real::readResponse(this, connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
    return result == MORE_DATA ? SUCCESS : result;
}
