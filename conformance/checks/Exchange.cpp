// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Exchange.h"

#include <new>

#include "Kit.h"

namespace conformance {

SecureTransportContext* newContext(const TransportInputs& inputs, void* space) {
    auto* context =
        static_cast<SecureTransportContext*>(space != nullptr ? space : ::operator new(sizeof(SecureTransportContext)));
    return new (context)
        SecureTransportContext(inputs.certificate, inputs.key, inputs.authority, SecureTransportContextIfc::eTLSv1_2,
                               &inputs.verification, &inputs.onlineStatus, "");
}

SecureConnection* newConnection(SecureTransportContext& context, const std::string& host, unsigned ioSeconds) {
    return new SecureConnection(context, host, "80", kConnectSeconds, ioSeconds, true);
}

Transport::Transport(const std::string& host, unsigned ioSeconds) {
    const TransportInputs inputs;
    context.reset(newContext(inputs));
    connection.reset(newConnection(*context, host, ioSeconds));
}

// The module's order: the context goes first, then the connection is closed and deleted.
Transport::~Transport() {
    context.reset();
    if (connection && connection->isUsable()) {
        connection->close();
    }
}

Exchange exchangeWith(HttpClient& client, SecureConnection& connection, const Request& request) {
    Exchange exchange;
    client.setDestinationHost(request.host, "80");
    exchange.sent = client.sendRequest(&connection, request.method, 0, request.headers, request.target.c_str(),
                                       request.body.c_str(), request.body.size(), "", "", 1, 0);
    if (exchange.sent == HttpClientIfc::FAILURE) {
        exchange.redirectHost = client.getRedirectHost();
        return exchange;
    }
    exchange.body = "stale";
    HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
    HttpClientIfc::HeaderMap headers;
    exchange.first = exchange.last =
        client.readResponse(&connection, exchange.body, kReadLimit, status, exchange.totalLength, headers);
    exchange.status = static_cast<int>(status);
    exchange.pieces.push_back(exchange.body.size());
    for (int emptyReads = 0; exchange.last == HttpClientIfc::MORE_DATA;) {
        std::string more;
        exchange.last = client.readMoreData(&connection, more, kReadLimit);
        exchange.body += more;
        exchange.pieces.push_back(more.size());
        emptyReads = more.empty() ? emptyReads + 1 : 0;
        if (emptyReads == 1000) {
            fail("readMoreData to end the body", "MORE_DATA 1000 times in a row without a byte");
        }
    }
    exchange.redirectHost = client.getRedirectHost();
    return exchange;
}

Exchange exchange(SecureConnection& connection, const Request& request) {
    std::unique_ptr<HttpClient> client(new HttpClient());
    return exchangeWith(*client, connection, request);
}

std::string describe(const Exchange& exchange) {
    return "sent " + std::to_string(exchange.sent) + ", read " + std::to_string(exchange.first) + "/" +
           std::to_string(exchange.last) + ", status " + std::to_string(exchange.status) + ", " +
           std::to_string(exchange.body.size()) + " bytes " + quoted(exchange.body, 40);
}

}  // namespace conformance
