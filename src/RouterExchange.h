// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The module's HTTP exchange with the router. FritzBox::connectionHandler (defined in
// RouterExchange.cpp) sends one request over the kept connection, follows at most four redirects
// (301, 302, 307; 303 is not) and tells whether the answer is usable; these are its short forms,
// so that each request of the module is one call. Internal to the module.
#include <string>

#include "HttpClient.h"

class FritzBox;

namespace fritzbox_detail {

// What one request gave: connectionHandler's verdict, the final status and the whole body.
struct RouterReply {
    bool ok = false;
    HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
    std::string body;
};

// Requests to the router's own host, with fresh response headers and redirects counted from zero.
class RouterRequests {
public:
    static RouterReply get(FritzBox& box, const std::string& path);
    static RouterReply post(FritzBox& box, const std::string& path, const std::string& body,
                            HttpClientIfc::HeaderMap headers);

private:
    static RouterReply send(FritzBox& box, const std::string& path, const std::string& body,
                            HttpClientIfc::HTTPMETHOD method, HttpClientIfc::HeaderMap& headers);
};

}  // namespace fritzbox_detail
