// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "NameResolver.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <system_error>
#include <vector>

#include "SecureTransport.h"

namespace linux_platform {
namespace detail {
namespace {

using Clock = std::chrono::steady_clock;

// One asynchronous lookup: the request and everything it points to live here together.
struct Lookup {
    std::string name;
    std::string service;
    addrinfo hints{};
    gaicb request{};

    Lookup(std::string nameText, std::string serviceText) : name(std::move(nameText)), service(std::move(serviceText)) {
        hints.ai_family = AF_UNSPEC;
        hints.ai_socktype = SOCK_STREAM;
        request.ar_name = name.c_str();
        request.ar_service = service.c_str();
        request.ar_request = &hints;
    }
    ~Lookup() {
        if (request.ar_result != nullptr) {
            freeaddrinfo(request.ar_result);
        }
    }
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;
};

// Lookups given up while glibc's helper thread still works on them: it writes into the request
// until it finishes, so they are freed only after that, at a later resolution.
class AbandonedLookups {
public:
    void add(std::unique_ptr<Lookup> lookup) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lookups.push_back(std::move(lookup));
    }
    void freeFinished() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lookups.erase(std::remove_if(m_lookups.begin(), m_lookups.end(),
                                       [](const std::unique_ptr<Lookup>& lookup) {
                                           return gai_error(&lookup->request) != EAI_INPROGRESS;
                                       }),
                        m_lookups.end());
    }

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Lookup>> m_lookups;
};

AbandonedLookups& abandonedLookups() {
    static AbandonedLookups lookups;
    return lookups;
}

// The lookup's final status, or EAI_INPROGRESS when `deadline` came first.
int awaitLookup(Lookup& lookup, Clock::time_point deadline) {
    const gaicb* const pending[] = {&lookup.request};
    for (;;) {
        const int status = gai_error(&lookup.request);
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now());
        if (status != EAI_INPROGRESS || left.count() <= 0) {
            return status;
        }
        const timespec wait{static_cast<time_t>(left.count() / 1000000000),
                            static_cast<long>(left.count() % 1000000000)};
        gai_suspend(pending, 1, &wait);  // returns on completion, time-out or signal alike
    }
}

[[noreturn]] void throwUnresolved(const std::string& host, const std::string& address, const std::string& reason) {
    const std::string mapped = address == host ? "" : " (mapped to '" + address + "')";
    throw SecureTransportException("cannot resolve host '" + host + "'" + mapped + ": " + reason);
}

// A numeric address needs no lookup and no helper thread.
addrinfo* numericAddresses(const std::string& address, const std::string& port) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* list = nullptr;
    return getaddrinfo(address.c_str(), port.c_str(), &hints, &list) == 0 ? list : nullptr;
}

}  // namespace

AddressList resolveBefore(const std::string& host, const std::string& address, const std::string& port,
                          Clock::time_point deadline) {
    if (addrinfo* numeric = numericAddresses(address, port)) {
        return AddressList(numeric, &freeaddrinfo);
    }
    abandonedLookups().freeFinished();
    auto lookup = std::make_unique<Lookup>(address, port);
    gaicb* requests[] = {&lookup->request};
    const int started = getaddrinfo_a(GAI_NOWAIT, requests, 1, nullptr);
    if (started != 0) {
        throwUnresolved(host, address, gai_strerror(started));
    }
    const int status = awaitLookup(*lookup, deadline);
    if (status == EAI_INPROGRESS) {
        if (gai_cancel(&lookup->request) == EAI_NOTCANCELED) {
            abandonedLookups().add(std::move(lookup));
        }
        throwUnresolved(host, address, "no answer from the name service in time");
    }
    if (status != 0) {
        throwUnresolved(host, address, status == EAI_SYSTEM ? "system error" : gai_strerror(status));
    }
    AddressList addresses(lookup->request.ar_result, &freeaddrinfo);
    lookup->request.ar_result = nullptr;
    return addresses;
}

}  // namespace detail
}  // namespace linux_platform
