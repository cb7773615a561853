// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client whose status code is a 64-bit field on its side: readResponse writes eight bytes where
// the installed header has four, over whatever stands beside the caller's status.
#include <cstdint>
#include <cstring>

#include "Real.h"

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    eStatusCode status = eStatusNone;
    const int result =
        real::readResponse(this, connection, responseData, maxResponseLength, status, totalLength, responseHeaders);
    const std::int64_t wide = status;
    std::memcpy(&statusCode, &wide, sizeof wide);
    return result;
}
