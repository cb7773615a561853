// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The module's fixture, shared by the module tests and the benchmarks: the module's exchange over
// a connection of its own, and the router it talks to.
#include <memory>
#include <string>

#include "FritzBox.h"
#include "ModelRouter.h"
#include "Phonebook.h"
#include "RouterExchange.h"
#include "SecureTransport.h"

namespace testsupport {

// A kept connection of the module's exchange held outside any FritzBox, the way FritzBox holds its
// own (a context and a connection, set and dropped together): the exchange's tests and the
// download benchmark send the module's requests over it.
class StandaloneConnection {
public:
    StandaloneConnection() = default;
    StandaloneConnection(const StandaloneConnection&) = delete;
    StandaloneConnection& operator=(const StandaloneConnection&) = delete;
    ~StandaloneConnection() { drop(true); }

    fritzbox_detail::RouterRequests requests() { return fritzbox_detail::RouterRequests(view()); }
    bool kept() const { return m_context != nullptr || m_connection != nullptr; }
    void drop(bool force) { fritzbox_detail::dropKeptConnection(view(), force); }

private:
    fritzbox_detail::KeptConnection view() { return {m_context, m_connection}; }

    std::unique_ptr<SecureTransportContext> m_context;
    std::unique_ptr<SecureConnection> m_connection;
};

using fritzbox_detail::kPictureDirectory;

}  // namespace testsupport
