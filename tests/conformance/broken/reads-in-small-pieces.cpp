// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Equivalent: a client that hands a body over in pieces of at most 4096 bytes, well under the
// caller's limit, and so answers MORE_DATA many more times.
#include <algorithm>

#include "Real.h"

namespace {
constexpr int kPiece = 4096;
}

int HttpClient::readResponse(SecureConnection* connection, std::string& responseData, int maxResponseLength,
                             eStatusCode& statusCode, int& totalLength, HeaderMap& responseHeaders) {
    return real::readResponse(this, connection, responseData, std::min(maxResponseLength, kPiece), statusCode,
                              totalLength, responseHeaders);
}

int HttpClient::readMoreData(SecureConnection* connection, std::string& data, int maxLength) {
    return real::readMoreData(this, connection, data, std::min(maxLength, kPiece));
}
