// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The module's fixture, shared by the module tests and the benchmarks: the session and connection
// of a FritzBox, and a router's logic (login, call list, phonebook export, photos) answering
// through the scripted loopback router.
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "FritzBox.h"
#include "Phonebook.h"
#include "RouterExchange.h"
#include "ScriptedRouter.h"
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

const std::string kSid = "0123456789abcdef";
using fritzbox_detail::kPictureDirectory;

// A call-list body: the two header lines and the given records, each ended by "\n".
std::string callListBody(const std::vector<std::string>& records);

// A router on loopback, mapped as "fritz.box:80", that grants a session for the right digest
// and answers the call list, the phonebook export and photos from its fields; other targets, and
// data asked for without the session, get the login page. `override` answers first when it
// returns true (for faults). The fields are read by the router's threads: change them only
// between syncs.
class TestRouter {
public:
    explicit TestRouter(std::string password = "geheim");

    std::string password, callList, phonebookExport;
    std::map<std::string, std::string> photos;  // router path -> bytes
    std::function<bool(const ReceivedRequest&, ScriptedReply&)> override;

    ScriptedRouter& scripted() { return m_router; }
    std::vector<ReceivedRequest> requests() const { return m_router.requests(); }
    std::vector<std::string> targets() const;
    std::size_t count(const std::string& targetPrefix) const;

private:
    ScriptedReply answer(const ReceivedRequest& request);

    ScriptedRouter m_router;  // last: it stops before the fields it answers from go
};

}  // namespace testsupport
