// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The module's fixture, shared by the module tests and the benchmarks: the session and connection
// of a FritzBox, and the router model answering through the scripted loopback router.
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "FritzBox.h"
#include "Phonebook.h"
#include "RouterExchange.h"
#include "RouterModel.h"
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

// The router the module tests log in to: user "admin" with `password`, the challenge always
// "1234567z", every session kSid, no login blocking.
routersim::SimulatorOptions predictableRouter(std::string password = "geheim");

// The router model (tools/router-model) on the scripted loopback server, mapped as "fritz.box:80";
// its data, photos and faults are the model's. `override` answers first when it returns true, for
// what no router model sends (raw bytes, pacing, a reply to one request alone).
class ModelRouter {
public:
    explicit ModelRouter(std::string password = "geheim") : ModelRouter(predictableRouter(std::move(password))) {}
    explicit ModelRouter(routersim::SimulatorOptions options, routersim::RouterData data = {});

    routersim::RouterModel& model() { return m_model; }
    void setCallList(std::string csv);
    void setPhonebookExport(std::string xml);
    void setPhotos(std::map<std::string, std::string> photos);  // router path -> bytes
    std::string callList() const { return m_model.data().callListCsv; }
    std::string phonebookExport() const { return m_model.data().phonebookXml; }

    std::function<bool(const ReceivedRequest&, ScriptedReply&)> override;

    ScriptedRouter& scripted() { return m_router; }
    std::vector<ReceivedRequest> requests() const { return m_router.requests(); }
    std::vector<std::string> targets() const;
    std::size_t count(const std::string& targetPrefix) const;

private:
    ScriptedReply answer(const ReceivedRequest& request);

    routersim::RouterModel m_model;
    ScriptedRouter m_router;  // last: it stops before the model it answers from goes
};

}  // namespace testsupport
