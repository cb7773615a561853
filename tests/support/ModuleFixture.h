// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The module's fixture, shared by the module tests and the benchmarks: the session and connection
// of a FritzBox, and the router they talk to.
#include <string>

#include "FritzBox.h"
#include "ModelRouter.h"
#include "Phonebook.h"
#include "RouterExchange.h"
#include "SecureTransport.h"

// The session and the kept connection of a FritzBox, which no reply of the module shows.
class FritzBoxTestAccess {
public:
    explicit FritzBoxTestAccess(FritzBox& box) : m_box(box) {}

    // Lets the box hold `sid` as if a login had given it.
    void adoptSession(const std::string& sid) { m_box.m_sid = sid; }
    const std::string& session() const { return m_box.m_sid; }
    bool hasKeptConnection() const { return m_box.m_secureConn != nullptr || m_box.m_transportContext != nullptr; }
    void clearSecureConnection(bool force) { m_box.clearSecureConnection(force); }
    // The module's requests over this box's kept connection.
    fritzbox_detail::RouterRequests routerRequests() {
        return fritzbox_detail::RouterRequests({m_box.m_transportContext, m_box.m_secureConn});
    }

private:
    FritzBox& m_box;
};

namespace testsupport {

using fritzbox_detail::kPictureDirectory;

}  // namespace testsupport
