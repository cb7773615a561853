// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The platform's transport and HTTP client driven the way the module drives them: a context and
// a connection built with the module's arguments, one client per exchange, the body read in
// pieces of at most 204800 bytes.
#include <memory>
#include <string>
#include <vector>

#include "HttpClient.h"
#include "KitRouter.h"
#include "SecureTransport.h"

namespace conformance {

constexpr int kReadLimit = 204800;

// The context's inputs as the module makes them, for plain HTTP.
struct TransportInputs {
    SecurityCertificate certificate;
    SecurityKey key{"", ""};
    SecurityCertificate authority;
    CertificateVerificationPolicy verification;
    OnlineCertStatusPolicy onlineStatus{nullptr, nullptr};
};

// The context made from `inputs` with the module's arguments; in `space` when it is given.
SecureTransportContext* newContext(const TransportInputs& inputs, void* space = nullptr);

// A connection to `host` port 80 as the module makes it: 5 s to connect, plain TCP; the I/O
// time-out is the module's 5 s unless a check needs a shorter wait.
constexpr unsigned kConnectSeconds = 5;
constexpr unsigned kIoSeconds = 5;
SecureConnection* newConnection(SecureTransportContext& context, const std::string& host,
                                unsigned ioSeconds = kIoSeconds);

// A context and a connection to `host` port 80, made and dropped as the module does.
struct Transport {
    explicit Transport(const std::string& host, unsigned ioSeconds = kIoSeconds);
    ~Transport();
    std::unique_ptr<SecureTransportContext> context;
    std::unique_ptr<SecureConnection> connection;
};

struct Request {
    std::string host = kRouterHost;
    HttpClientIfc::HTTPMETHOD method = HttpClientIfc::GET;
    std::string target = "/kit";
    std::string body{};
    HttpClientIfc::HeaderMap headers{};
};

struct Exchange {
    int sent = -1;   // sendRequest's result
    int first = -1;  // readResponse's result
    int last = -1;   // the result that ended the reads
    int status = -1;
    int totalLength = 0;
    std::string body;                 // the body as the reads left it ("stale" before the first)
    std::vector<std::size_t> pieces;  // how many bytes each read brought
    std::string redirectHost;
};

// One exchange over `connection` through `client`; the reads stop when a result is neither 2
// (more) nor the result of a read that brought nothing 1000 times in a row.
Exchange exchangeWith(HttpClient& client, SecureConnection& connection, const Request& request);
// The same through a client of its own, deleted at the end, as the module does.
Exchange exchange(SecureConnection& connection, const Request& request = {});
// "sent 0, read 2/0, status 200, 5 bytes": for reports.
std::string describe(const Exchange& exchange);

}  // namespace conformance
