// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A client whose further reads replace the data read so far instead of appending to it.
#include "Real.h"

int HttpClient::readMoreData(SecureConnection* connection, std::string& data, int maxLength) {
    const std::size_t before = data.size();
    const int result = real::readMoreData(this, connection, data, maxLength);
    data.erase(0, before);
    return result;
}
