// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "RouterExchange.h"

#include <algorithm>
#include <memory>

#include "ModuleLog.h"
#include "SecureTransport.h"

namespace {

// The router's name on the home network; every request goes to it on port 80.
const char* const kRouterHost = "fritz.box";
const char* const kRequestPort = "80";
// The size of one read of the body; the platform's own cap bounds the whole answer.
const int kReadChunkLength = 204800;
const std::size_t kMaxReservedResponse = 16u * 1024u * 1024u;
const std::int32_t kMaxRedirectDepth = 4;
// The kept connection's bounds: seconds to connect, seconds per read or write; plain HTTP.
const unsigned kConnectTimeoutSeconds = 5;
const unsigned kIoTimeoutSeconds = 5;
const bool kPlainText = true;

// What one exchange leaves for connectionHandler to decide on.
struct ExchangeOutcome {
    bool sent = false;
    int readResult = HttpClient::FAILURE;
    std::string redirectHost;
};

// One request and its whole answer over `connection`, through a client that lives for this
// exchange only and is gone when this returns. The body arrives in reads of at most
// kReadChunkLength bytes, appended in order.
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
        client->readResponse(connection, responseData, kReadChunkLength, statusCode, totalLength, responseHeaders);
    FRITZBOX_TRACE(
        "connectionHandler() statusCode: %d, result: %d, maxResponseLength: %d, totalLength: %d, "
        "responseData.length(): %d",
        static_cast<int>(statusCode), result, kReadChunkLength, totalLength, static_cast<int>(responseData.length()));
    // The announced length lets the body grow in place instead of being copied at every
    // doubling. It is the router's word, so no more than a large export is set aside on it.
    if (totalLength > 0) {
        responseData.reserve(std::min(static_cast<std::size_t>(totalLength), kMaxReservedResponse));
    }
    while (result == HttpClientIfc::MORE_DATA) {
        std::string more;
        result = client->readMoreData(connection, more, kReadChunkLength);
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

namespace fritzbox_detail {

bool exchangeWithRouter(KeptConnection kept, const std::string& path, const std::string& body,
                        HttpClientIfc::HTTPMETHOD method, std::string& responseData,
                        HttpClientIfc::HeaderMap& requestHeaders, HttpClientIfc::HeaderMap& responseHeaders,
                        HttpClientIfc::eStatusCode& statusCode, std::string host, std::int32_t redirectCount) {
    if (host.empty()) {
        host = kRouterHost;
    }
    // The log lines carry the name of the member this exchange does the work of.
    FRITZBOX_TRACE("connectionHandler() connecting to %s:%s, path='%s'", host.c_str(), kRequestPort, path.c_str());

    // The router is spoken to in plain HTTP: no certificates, keys or revocation checks.
    SecurityCertificate clientCertificate;
    SecurityKey clientKey("", "");
    SecurityCertificate authorityCertificate;
    CertificateVerificationPolicy verificationPolicy;
    OnlineCertStatusPolicy onlineStatusPolicy(nullptr, nullptr);

    dropKeptConnection(kept, false);
    if (!kept.context && !kept.connection) {
        try {
            kept.context.reset(new SecureTransportContext(clientCertificate, clientKey, authorityCertificate,
                                                          SecureTransportContextIfc::eTLSv1_2, &verificationPolicy,
                                                          &onlineStatusPolicy, ""));
            kept.connection.reset(new SecureConnection(*kept.context, host, kRequestPort, kConnectTimeoutSeconds,
                                                       kIoTimeoutSeconds, kPlainText));
        } catch (const SecureTransportException& exception) {
            FRITZBOX_LOG(2, "connectionHandler() exception='%s'", exception.what());
            dropKeptConnection(kept, true);
            return false;
        }
    }
    FRITZBOX_TRACE("connectionHandler() m_secureConn[%p], m_transportContext[%p]",
                   static_cast<void*>(kept.connection.get()), static_cast<void*>(kept.context.get()));

    ExchangeOutcome exchange;
    if (kept.connection) {
        exchange = exchangeOnce(kept.connection.get(), host, path, body, method, requestHeaders, responseData,
                                responseHeaders, statusCode);
    }
    if (!exchange.sent) {
        dropKeptConnection(kept, true);
        FRITZBOX_TRACE("connectionHandler() HttpClient::FAILURE");
        return false;
    }
    host = exchange.redirectHost;
    dropKeptConnection(kept, false);
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
    return exchangeWithRouter(kept, path, body, method, responseData, requestHeaders, responseHeaders, statusCode, host,
                              redirectCount + 1);
}

void dropKeptConnection(KeptConnection kept, bool force) {
    FRITZBOX_TRACE("clearSecureConnection() IN force[%s], m_secureConn[%p], m_transportContext[%p]", boolText(force),
                   static_cast<void*>(kept.connection.get()), static_cast<void*>(kept.context.get()));
    const bool keep = !force && (!kept.connection || kept.connection->isUsable());
    if (!keep) {
        // The context goes first, before the connection is closed.
        kept.context.reset();
        if (kept.connection) {
            if (kept.connection->isUsable()) {
                kept.connection->close();
            }
            kept.connection.reset();
        }
    }
    FRITZBOX_LOG(4, "clearSecureConnection() OUT force[%s], m_secureConn[%p], m_transportContext[%p]", boolText(force),
                 static_cast<void*>(kept.connection.get()), static_cast<void*>(kept.context.get()));
}

RouterReply RouterRequests::get(const std::string& path) {
    HttpClientIfc::HeaderMap noHeaders;
    return send(path, std::string(), HttpClientIfc::GET, noHeaders);
}

RouterReply RouterRequests::post(const std::string& path, const std::string& body, HttpClientIfc::HeaderMap headers) {
    return send(path, body, HttpClientIfc::POST, headers);
}

RouterReply RouterRequests::send(const std::string& path, const std::string& body, HttpClientIfc::HTTPMETHOD method,
                                 HttpClientIfc::HeaderMap& headers) {
    RouterReply reply;
    HttpClientIfc::HeaderMap responseHeaders;
    reply.ok =
        exchangeWithRouter(m_kept, path, body, method, reply.body, headers, responseHeaders, reply.status, "", 0);
    return reply;
}

}  // namespace fritzbox_detail
