// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The module's HTTP exchange with the router, as functions over the kept connection: one request,
// its whole answer, at most four redirects (301, 302, 307; 303 is not followed) and the verdict
// whether the answer is usable. FritzBox's connectionHandler and clearSecureConnection hand their
// two connection members to these; the module's own requests go through RouterRequests, one call
// each. Internal to the module.
#include <cstdint>
#include <memory>
#include <string>

#include "HttpClient.h"

class SecureTransportContext;
class SecureConnection;

namespace fritzbox_detail {

// The two members that hold the kept connection: both set, or both empty. The exchange creates
// them when they are empty and drops them when the connection is no longer usable.
struct KeptConnection {
    std::unique_ptr<SecureTransportContext>& context;
    std::unique_ptr<SecureConnection>& connection;
};

// Sends one request to `host` (empty: the router) over the kept connection, reads the whole answer
// and follows 301, 302 and 307 until `redirectCount` reaches four; true when the final status is
// usable (200, 201, 204, 304 and 404).
bool exchangeWithRouter(KeptConnection kept, const std::string& path, const std::string& body,
                        HttpClientIfc::HTTPMETHOD method, std::string& responseData,
                        HttpClientIfc::HeaderMap& requestHeaders, HttpClientIfc::HeaderMap& responseHeaders,
                        HttpClientIfc::eStatusCode& statusCode, std::string host, std::int32_t redirectCount);

// Drops the kept connection when forced or when the platform no longer finds it usable.
void dropKeptConnection(KeptConnection kept, bool force);

// What one request gave: the exchange's verdict, the final status and the whole body.
struct RouterReply {
    bool ok = false;
    HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
    std::string body;
};

// Requests to the router's own host, with fresh response headers and redirects counted from zero.
class RouterRequests {
public:
    explicit RouterRequests(KeptConnection kept) : m_kept(kept) {}
    RouterRequests(std::unique_ptr<SecureTransportContext>& context, std::unique_ptr<SecureConnection>& connection)
        : m_kept{context, connection} {}

    RouterReply get(const std::string& path);
    RouterReply post(const std::string& path, const std::string& body, HttpClientIfc::HeaderMap headers);

private:
    RouterReply send(const std::string& path, const std::string& body, HttpClientIfc::HTTPMETHOD method,
                     HttpClientIfc::HeaderMap& headers);

    KeptConnection m_kept;
};

}  // namespace fritzbox_detail
