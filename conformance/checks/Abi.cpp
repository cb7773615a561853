// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The binary interface: objects the module allocates at its own size must not be written or read
// past it, the platform's vtables must hold the functions in the order the module calls them, the
// out-parameters must be written at their width, and the platform's headers must declare what
// the module was built with.
#include <dlfcn.h>

#include <cstdint>
#include <cstring>
#include <map>

#include "Cryptographer.h"
#include "Exchange.h"
#include "GuardedMemory.h"
#include "HeaderFacts.h"
#include "Kit.h"
#include "LoopbackRouter.h"

namespace conformance {

namespace {

RouterScript answeringOk() {
    RouterScript script;
    script.replies.assign(8, HttpReply{200, {}, "ok"});
    return script;
}

void httpClientInBounds(Context& context) {
    LoopbackRouter router(context, answeringOk());
    Transport transport(kRouterHost);
    GuardedMemory memory;
    HttpClient* client = memory.make<HttpClient>();
    const Exchange done = exchangeWith(*client, *transport.connection, {});
    client->~HttpClient();
    expectEqual("the body through a client at the end of its space", "ok", done.body);
}

void contextInBounds(Context& context) {
    LoopbackRouter router(context, answeringOk());
    GuardedMemory memory;
    const TransportInputs inputs;
    SecureTransportContext* transportContext = newContext(inputs, memory.endSpace(sizeof(SecureTransportContext)));
    {
        std::unique_ptr<SecureConnection> connection(newConnection(*transportContext, kRouterHost));
        expectEqual("the body", "ok", exchange(*connection).body);
    }
    transportContext->~SecureTransportContext();
}

void connectionInBounds(Context& context) {
    LoopbackRouter router(context, answeringOk());
    const TransportInputs inputs;
    std::unique_ptr<SecureTransportContext> transportContext(newContext(inputs));
    GuardedMemory memory;
    auto* connection =
        memory.make<SecureConnection>(*transportContext, kRouterHost, "80", kConnectSeconds, kIoSeconds, true);
    expectEqual("the body", "ok", exchange(*connection).body);
    transportContext.reset();
    if (connection->isUsable()) {
        connection->close();
    }
    connection->~SecureConnection();
}

void cryptographerInBounds(Context&) {
    GuardedMemory memory;
    const Cryptographer* cryptographer = memory.make<Cryptographer>();
    expectEqual("the MD5 of \"abc\"", "900150983cd24fb0d6963f7d28e17f72", cryptographer->md5("abc"));
    cryptographer->~Cryptographer();
}

// Each input of the context at the end of its own space: a platform that reads a bigger layout
// than the installed header's faults.
void inputsInBounds(Context&) {
    GuardedMemory certificateMemory, keyMemory, authorityMemory, verificationMemory, onlineMemory;
    const auto* certificate = certificateMemory.make<SecurityCertificate>();
    const auto* key = keyMemory.make<SecurityKey>("", "");
    const auto* authority = authorityMemory.make<SecurityCertificate>();
    const auto* verification = verificationMemory.make<CertificateVerificationPolicy>();
    const auto* online = onlineMemory.make<OnlineCertStatusPolicy>(nullptr, nullptr);
    std::unique_ptr<SecureTransportContext> context(new SecureTransportContext(
        *certificate, *key, *authority, SecureTransportContextIfc::eTLSv1_2, verification, online, ""));
    certificate->~SecurityCertificate();
    key->~SecurityKey();
    authority->~SecurityCertificate();
}

// The name of the function in each of the first slots of `object`'s vtable, after its class and
// before its parameters ("sendRequest", "~HttpClient"); empty for a slot no exported name covers.
std::vector<std::string> slotNames(const void* object, std::size_t slots) {
    void* const* vtable = *static_cast<void* const* const*>(object);
    std::vector<std::string> names;
    for (std::size_t slot = 0; slot < slots; ++slot) {
        Dl_info info{};
        const auto address = reinterpret_cast<std::uintptr_t>(vtable[slot]) & ~std::uintptr_t{1};  // ARM's Thumb bit
        std::string name;
        if (::dladdr(vtable[slot], &info) != 0 && info.dli_sname != nullptr &&
            (reinterpret_cast<std::uintptr_t>(info.dli_saddr) & ~std::uintptr_t{1}) == address) {
            name = demangled(info.dli_sname);
            name = name.substr(0, name.find_first_of("(["));  // parameters, and tags such as [abi:cxx11]
            name = name.substr(name.rfind("::") == std::string::npos ? 0 : name.rfind("::") + 2);
        }
        names.push_back(name);
    }
    return names;
}

void expectSlots(const void* object, const std::vector<std::string>& expected) {
    const std::vector<std::string> names = slotNames(object, expected.size());
    for (std::size_t slot = 0; slot < expected.size(); ++slot) {
        if (names[slot].empty()) {
            fail("slot " + std::to_string(slot) + " to hold " + expected[slot] +
                     " (the kit names the slots by the platform's exported symbols: export its virtual functions)",
                 "a function without an exported name");
        }
        expectEqual("slot " + std::to_string(slot), expected[slot], names[slot]);
    }
}

void httpClientSlots(Context&) {
    std::unique_ptr<HttpClient> client(new HttpClient());
    expectSlots(client.get(),
                {"~HttpClient", "~HttpClient", "sendRequest", "readResponse", "readMoreData", "getRedirectHost"});
}

void connectionSlots(Context& context) {
    LoopbackRouter router(context, answeringOk());
    Transport transport(kRouterHost);
    expectSlots(transport.connection.get(), {"~SecureConnection", "~SecureConnection", "isUsable", "close"});
}

void contextSlots(Context&) {
    const TransportInputs inputs;
    std::unique_ptr<SecureTransportContext> context(newContext(inputs));
    expectSlots(context.get(), {"~SecureTransportContext", "~SecureTransportContext"});
}

// The status and the length the first read writes, with marker words on both sides of each.
void outParameterWidths(Context& context) {
    LoopbackRouter router(context, answeringOk());
    Transport transport(kRouterHost);
    struct {
        std::uint32_t before;
        HttpClientIfc::eStatusCode status;
        std::uint32_t between;
        int totalLength;
        std::uint32_t after;
    } guarded;
    std::memset(&guarded, 0xa5, sizeof guarded);
    std::unique_ptr<HttpClient> client(new HttpClient());
    client->setDestinationHost(kRouterHost, "80");
    client->sendRequest(transport.connection.get(), HttpClientIfc::GET, 0, {}, "/kit", "", 0, "", "", 1, 0);
    std::string body;
    HttpClientIfc::HeaderMap headers;
    client->readResponse(transport.connection.get(), body, kReadLimit, guarded.status, guarded.totalLength, headers);
    const std::uint32_t marker = 0xa5a5a5a5;
    expectTrue(guarded.before == marker && guarded.between == marker && guarded.after == marker,
               "nothing written beside statusCode and totalLength", "a marker word overwritten");
    expectEqual("statusCode, all of it", 200, static_cast<long long>(guarded.status));
    expectTrue(guarded.totalLength == 2 || guarded.totalLength == -1, "totalLength 2 (or -1)",
               std::to_string(guarded.totalLength));
}

// Compares the facts whose names start with `kind` in the installed and the platform's headers.
void compareHeaderFacts(const std::string& kind) {
    std::map<std::string, long long> platform;
    for (const HeaderFact& fact : platformHeaderFacts()) {
        platform[fact.name] = fact.value;
    }
    for (const HeaderFact& fact : installedHeaderFacts()) {
        if (fact.name.rfind(kind, 0) == 0) {
            expectEqual(fact.name + " in the platform's headers", fact.value, platform.at(fact.name));
        }
    }
}

void headerSizes(Context&) {
    compareHeaderFacts("size ");
    compareHeaderFacts("align ");
    compareHeaderFacts("polymorphic ");
}

void headerOffsets(Context&) {
    compareHeaderFacts("offset ");
    compareHeaderFacts("value ");
}

void headerSlots(Context&) {
    compareHeaderFacts("slot ");
}

}  // namespace

std::vector<Check> abiChecks() {
    return {
        {"abi.bounds.HttpClient", httpClientInBounds, 20},
        {"abi.bounds.SecureTransportContext", contextInBounds, 20},
        {"abi.bounds.SecureConnection", connectionInBounds, 20},
        {"abi.bounds.Cryptographer", cryptographerInBounds, 10},
        {"abi.bounds.context-inputs", inputsInBounds, 10},
        {"abi.vtable.HttpClient", httpClientSlots, 10},
        {"abi.vtable.SecureConnection", connectionSlots, 20},
        {"abi.vtable.SecureTransportContext", contextSlots, 10},
        {"abi.out-parameter-widths", outParameterWidths, 20},
        {"abi.headers.sizes", headerSizes, 10},
        {"abi.headers.offsets-and-values", headerOffsets, 10},
        {"abi.headers.vtable-slots", headerSlots, 10},
    };
}

}  // namespace conformance
