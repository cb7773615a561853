// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// SecureTransportContext and SecureConnection: made with the module's arguments, kept between
// exchanges while they report themselves usable, and dropped context first.
#include <dirent.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <typeinfo>

#include "Exchange.h"
#include "GuardedMemory.h"
#include "Kit.h"
#include "LoopbackRouter.h"

namespace conformance {

namespace {

void expectAnswered(const Exchange& done, const std::string& what) {
    expectTrue(done.sent != HttpClientIfc::FAILURE && done.last != HttpClientIfc::FAILURE && done.status == 404,
               what + ": the router's 404 answer", describe(done));
}

void moduleArguments(Context&) {
    const TransportInputs inputs;
    try {
        std::unique_ptr<SecureTransportContext> context(newContext(inputs));
    } catch (const SecureTransportException& exception) {
        fail("a context for the module's arguments (no certificates, protocol 3, default policies)",
             std::string("SecureTransportException: ") + exception.what());
    }
}

// The inputs are the module's locals and die when it has made the context and the connection;
// both live on for later exchanges, also to another host.
void keepsNoPointers(Context& context) {
    LoopbackRouter router(context, replying());
    GuardedMemory memory;
    auto* inputs = memory.make<TransportInputs>();
    std::unique_ptr<SecureTransportContext> transportContext(newContext(*inputs));
    std::unique_ptr<SecureConnection> connection(newConnection(*transportContext, kRouterHost));
    inputs->~TransportInputs();
    memory.lock();
    expectAnswered(exchange(*connection), "after the inputs died");
    expectAnswered(exchange(*connection, {kOtherHost}), "to another host after the inputs died");
    std::unique_ptr<SecureConnection> second(newConnection(*transportContext, kRouterHost));
    expectAnswered(exchange(*second), "on a second connection of the context");
}

void plainTcp(Context& context) {
    LoopbackRouter router(context, replying());
    Transport transport(kRouterHost);
    expectAnswered(exchange(*transport.connection), "a plain HTTP exchange");
    for (const RouterEvent& event : router.events()) {
        expectTrue(event.kind != RouterEvent::Malformed, "plain HTTP on port 80", "bytes that are no HTTP request");
    }
}

void refusedThrows(Context& context) {
    RefusingHost refusing(context);
    const TransportInputs inputs;
    std::unique_ptr<SecureTransportContext> transportContext(newContext(inputs));
    try {
        std::unique_ptr<SecureConnection> connection(newConnection(*transportContext, refusing.name()));
    } catch (const SecureTransportException& exception) {
        expectTrue(exception.what() != nullptr, "a message from what()", "a null pointer");
        return;
    } catch (const GPALException& exception) {
        fail("SecureTransportException for a refused connection (the module catches nothing else)",
             "another GPALException: " + demangled(typeid(exception).name()) + ": " + exception.what());
    }
    fail("SecureTransportException for a refused connection", "a connection object");
}

void usableWhileOpen(Context& context) {
    LoopbackRouter router(context, replying());
    Transport transport(kRouterHost);
    expectTrue(transport.connection->isUsable() && transport.connection->isUsable(), "a new connection usable",
               "not usable");
    for (int round = 1; round <= 2; ++round) {
        expectAnswered(exchange(*transport.connection), "exchange " + std::to_string(round));
        expectTrue(transport.connection->isUsable(), "usable after a complete keep-alive exchange", "not usable");
    }
    expectEqual("connections the router saw", 1, router.connections());
}

// Whether the connection reports itself unusable within a second (times `slow`): the router's end
// has left its socket, and the system may take a moment to hand it to the client's.
bool turnsUnusable(const SecureConnection& connection, unsigned slow) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(slow);
    while (connection.isUsable()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// The router ends the connection after its answer, in each way a router does.
void unusableAfterPeerEnd(Context& context) {
    const std::pair<const char*, HttpReply> rows[] = {
        {"an orderly close of the idle connection (FIN)",
         HttpReply{200, {}, "ok", {}, false, HttpReply::Ending::HangUp}},
        {"a reset of the idle connection (RST)", HttpReply{200, {}, "ok", {}, false, HttpReply::Ending::Reset}},
        {"an answer with Connection: close", HttpReply{200, {}, "ok", {}, false, HttpReply::Ending::Close}},
        {"an HTTP/1.0 answer",
         HttpReply{
             200, {}, "", {}, false, HttpReply::Ending::HangUp, "HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nok"}},
    };
    std::deque<HttpReply> replies;
    for (const auto& row : rows) {
        replies.push_back(row.second);
    }
    LoopbackRouter router(context, replying(replies));
    int connection = 0;
    for (const auto& [name, reply] : rows) {
        Transport transport(kRouterHost);
        const Exchange done = exchange(*transport.connection);
        expectTrue(done.body == "ok", std::string(name) + ": the answer \"ok\"", describe(done));
        if (!router.waitFor(RouterEvent::RouterEnd, connection++, 5 * context.settings.slow)) {
            fail(std::string(name) + ": the kit's router ending the connection", "it did not");
        }
        expectTrue(turnsUnusable(*transport.connection, context.settings.slow),
                   std::string(name) + ": not usable afterwards", "usable");
    }
}

void closeMakesUnusable(Context& context) {
    LoopbackRouter router(context, replying());
    Transport transport(kRouterHost);
    expectAnswered(exchange(*transport.connection), "an exchange");
    transport.connection->close();
    expectTrue(!transport.connection->isUsable(), "not usable after close()", "usable");
    expectTrue(router.waitFor(RouterEvent::ClientEnd, 0, 5 * context.settings.slow),
               "the router seeing the connection end", "it stayed open");
}

// clearSecureConnection deletes the context before it asks the connection, closes and deletes it.
void contextDeletedFirst(Context& context) {
    LoopbackRouter router(context, replying());
    GuardedMemory memory;
    const TransportInputs inputs;
    SecureTransportContext* transportContext = newContext(inputs, memory.endSpace(sizeof(SecureTransportContext)));
    std::unique_ptr<SecureConnection> connection(newConnection(*transportContext, kRouterHost));
    expectAnswered(exchange(*connection), "an exchange");
    transportContext->~SecureTransportContext();
    memory.lock();
    if (connection->isUsable()) {
        connection->close();
    }
    connection.reset();
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    if (DIR* directory = ::opendir("/proc/self/fd")) {
        while (::readdir(directory) != nullptr) {
            ++count;
        }
        ::closedir(directory);
    }
    return count;
}

void noDescriptorLeak(Context& context) {
    LoopbackRouter router(context, replying());
    {
        Transport warmUp(kRouterHost);
        expectAnswered(exchange(*warmUp.connection), "the first exchange");
    }
    const std::size_t before = openDescriptors();
    for (int round = 0; round < 100; ++round) {
        Transport transport(kRouterHost);
        exchange(*transport.connection);
    }
    expectEqual("open descriptors after 100 connections made and dropped", static_cast<long long>(before),
                static_cast<long long>(openDescriptors()));
}

}  // namespace

std::vector<Check> transportChecks() {
    return {
        {"transport.context.module-arguments", moduleArguments, 10},
        {"transport.context.keeps-no-pointers", keepsNoPointers, 20},
        {"transport.connect.plain-tcp", plainTcp, 20},
        {"transport.connect.refused-throws", refusedThrows, 20},
        {"transport.usable.while-open", usableWhileOpen, 20},
        {"transport.usable.not-after-peer-end", unusableAfterPeerEnd, 20},
        {"transport.close.unusable", closeMakesUnusable, 20},
        {"transport.context-deleted-first", contextDeletedFirst, 20},
        {"transport.no-descriptor-leak", noDescriptorLeak, 30},
    };
}

}  // namespace conformance
