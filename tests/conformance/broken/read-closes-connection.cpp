// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client that closes the connection after every complete answer: no request reuses it.
#include "Real.h"

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    const int result =
        real::readResponse(this, connection, responseData, maxResponseLength, statusCode, totalLength, responseHeaders);
    if (result == SUCCESS) {
        connection->close();
    }
    return result;
}
