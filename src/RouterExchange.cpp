// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "RouterExchange.h"

#include <algorithm>
#include <memory>

#include "FritzBox.h"
#include "ModuleLog.h"
#include "SecureTransport.h"

using fritzbox_detail::boolText;

namespace {

// The router's name on the home network; every request goes to it on port 80.
const char* const kRouterHost = "fritz.box";
const char* const kRequestPort = "80";
const int kMaxResponseLength = 204800;
const std::size_t kMaxReservedResponse = 16u * 1024u * 1024u;
const std::int32_t kMaxRedirectDepth = 4;

// What one exchange leaves for connectionHandler to decide on.
struct ExchangeOutcome {
    bool sent = false;
    int readResult = HttpClient::FAILURE;
    std::string redirectHost;
};

// One request and its whole answer over `connection`, through a client that lives for this
// exchange only and is gone when this returns. The body arrives in reads of at most
// kMaxResponseLength bytes, appended in order.
ExchangeOutcome exchangeOnce(SecureConnection* connection, const std::string& host, const std::string& path,
                             const std::string& body, HttpClientIfc::HTTPMETHOD method,
                             const HttpClientIfc::HeaderMap& requestHeaders, std::string& responseData,
                             HttpClientIfc::HeaderMap& responseHeaders, HttpClientIfc::eStatusCode& statusCode) {
    ExchangeOutcome outcome;
    std::unique_ptr<HttpClient> client(new HttpClient());
    client->setDestinationHost(host, kRequestPort);
    statusCode = HttpClientIfc::eStatusNone;
    outcome.sent = client->sendRequest(connection, method, 0, requestHeaders, path.c_str(), body.c_str(), body.length(),
                                       "", "", 1, 0) != HttpClient::FAILURE;
    if (!outcome.sent) {
        return outcome;
    }
    int totalLength = 0;
    int result =
        client->readResponse(connection, responseData, kMaxResponseLength, statusCode, totalLength, responseHeaders);
    FRITZBOX_TRACE(
        "connectionHandler() statusCode: %d, result: %d, maxResponseLength: %d, totalLength: %d, "
        "responseData.length(): %d",
        static_cast<int>(statusCode), result, kMaxResponseLength, totalLength, static_cast<int>(responseData.length()));
    // The announced length lets the body grow in place instead of being copied at every
    // doubling. It is the router's word, so no more than a large export is set aside on it.
    if (totalLength > 0) {
        responseData.reserve(std::min(static_cast<std::size_t>(totalLength), kMaxReservedResponse));
    }
    while (result == HttpClientIfc::MORE_DATA) {
        std::string more;
        result = client->readMoreData(connection, more, kMaxResponseLength);
        responseData.append(more);
    }
    outcome.readResult = result;
    // Asked after every exchange: only a redirect status makes use of it.
    outcome.redirectHost = client->getRedirectHost();
    return outcome;
}

enum class StatusMeaning { Usable, Redirect, Unexpected };

StatusMeaning meaningOf(HttpClientIfc::eStatusCode statusCode) {
    switch (static_cast<int>(statusCode)) {
        case 200:
        case 201:
        case 204:
        case 304:
        case 404:  // counted as usable on purpose: the caller judges the body
            return StatusMeaning::Usable;
        case 301:
        case 302:
        case 307:
            return StatusMeaning::Redirect;
        default:  // 303 included: it is not followed
            return StatusMeaning::Unexpected;
    }
}

}  // namespace

bool FritzBox::connectionHandler(const std::string& path, std::string body, HttpClientIfc::HTTPMETHOD method,
                                 std::string& responseData, HeaderMap& requestHeaders, HeaderMap& responseHeaders,
                                 HttpClientIfc::eStatusCode& statusCode, std::string host, std::int32_t redirectCount) {
    if (host.empty()) {
        host = kRouterHost;
    }
    FRITZBOX_TRACE("connectionHandler() connecting to %s:%s, path='%s'", host.c_str(), kRequestPort, path.c_str());

    // The router is spoken to in plain HTTP: no certificates, keys or revocation checks.
    SecurityCertificate clientCertificate;
    SecurityKey clientKey("", "");
    SecurityCertificate authorityCertificate;
    CertificateVerificationPolicy verificationPolicy;
    OnlineCertStatusPolicy onlineStatusPolicy(nullptr, nullptr);

    clearSecureConnection(false);
    if (!m_transportContext && !m_secureConn) {
        try {
            m_transportContext.reset(new SecureTransportContext(clientCertificate, clientKey, authorityCertificate,
                                                                SecureTransportContextIfc::eTLSv1_2,
                                                                &verificationPolicy, &onlineStatusPolicy, ""));
            m_secureConn.reset(new SecureConnection(*m_transportContext, host, kRequestPort, 5, 5, true));
        } catch (const SecureTransportException& exception) {
            FRITZBOX_LOG(2, "connectionHandler() exception='%s'", exception.what());
            clearSecureConnection(true);
            return false;
        }
    }
    FRITZBOX_TRACE("connectionHandler() m_secureConn[%p], m_transportContext[%p]",
                   static_cast<void*>(m_secureConn.get()), static_cast<void*>(m_transportContext.get()));

    ExchangeOutcome exchange;
    if (m_secureConn) {
        exchange = exchangeOnce(m_secureConn.get(), host, path, body, method, requestHeaders, responseData,
                                responseHeaders, statusCode);
    }
    if (!exchange.sent) {
        clearSecureConnection(true);
        FRITZBOX_TRACE("connectionHandler() HttpClient::FAILURE");
        return false;
    }
    host = exchange.redirectHost;
    clearSecureConnection(false);
    if (exchange.readResult == HttpClient::FAILURE) {
        FRITZBOX_TRACE("connectionHandler() HttpClient::FAILURE on reading response");
        return false;
    }

    switch (meaningOf(statusCode)) {
        case StatusMeaning::Usable:
            return true;
        case StatusMeaning::Unexpected:
            FRITZBOX_TRACE("connectionHandler() unexpected response\n%s\n", responseData.c_str());
            return false;
        case StatusMeaning::Redirect:
            break;
    }
    if (redirectCount == kMaxRedirectDepth) {
        FRITZBOX_LOG(2, "connectionHandler() too many redirects");
        return false;
    }
    FRITZBOX_TRACE("connectionHandler() redirection='%s'", host.c_str());
    return connectionHandler(path, body, method, responseData, requestHeaders, responseHeaders, statusCode, host,
                             redirectCount + 1);
}

void FritzBox::clearSecureConnection(bool force) {
    FRITZBOX_TRACE("clearSecureConnection() IN force[%s], m_secureConn[%p], m_transportContext[%p]", boolText(force),
                   static_cast<void*>(m_secureConn.get()), static_cast<void*>(m_transportContext.get()));
    const bool keep = !force && (!m_secureConn || m_secureConn->isUsable());
    if (!keep) {
        // The context goes first, before the connection is closed.
        m_transportContext.reset();
        if (m_secureConn) {
            if (m_secureConn->isUsable()) {
                m_secureConn->close();
            }
            m_secureConn.reset();
        }
    }
    FRITZBOX_LOG(4, "clearSecureConnection() OUT force[%s], m_secureConn[%p], m_transportContext[%p]", boolText(force),
                 static_cast<void*>(m_secureConn.get()), static_cast<void*>(m_transportContext.get()));
}

namespace fritzbox_detail {

RouterReply RouterRequests::get(FritzBox& box, const std::string& path) {
    HttpClientIfc::HeaderMap noHeaders;
    return send(box, path, std::string(), HttpClientIfc::GET, noHeaders);
}

RouterReply RouterRequests::post(FritzBox& box, const std::string& path, const std::string& body,
                                 HttpClientIfc::HeaderMap headers) {
    return send(box, path, body, HttpClientIfc::POST, headers);
}

RouterReply RouterRequests::send(FritzBox& box, const std::string& path, const std::string& body,
                                 HttpClientIfc::HTTPMETHOD method, HttpClientIfc::HeaderMap& headers) {
    RouterReply reply;
    HttpClientIfc::HeaderMap responseHeaders;
    reply.ok = box.connectionHandler(path, body, method, reply.body, headers, responseHeaders, reply.status, "", 0);
    return reply;
}

}  // namespace fritzbox_detail
