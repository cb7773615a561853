// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router model (tools/router-model) served by the project's own loopback server
// (ScriptedRouter): the router of the module tests and the benchmarks, on every platform the
// library builds for. It knows nothing of the module: the benchmarks that compare commits link it
// against an earlier commit's module and platform libraries.
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "RouterModel.h"
#include "ScriptedRouter.h"

namespace testsupport {

// The session id the predictable router hands out.
const std::string kSid = "0123456789abcdef";

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
    void setCallList(std::string csv) {
        editData([&csv](routersim::RouterData& data) { data.callListCsv = std::move(csv); });
    }
    void setPhonebookExport(std::string xml) {
        editData([&xml](routersim::RouterData& data) { data.phonebookXml = std::move(xml); });
    }
    void setPhotos(std::map<std::string, std::string> photos) {  // router path -> bytes
        editData([&photos](routersim::RouterData& data) { data.photos = std::move(photos); });
    }
    std::string callList() const { return m_model.data().callListCsv; }
    std::string phonebookExport() const { return m_model.data().phonebookXml; }

    std::function<bool(const ReceivedRequest&, ScriptedReply&)> override;

    ScriptedRouter& scripted() { return m_router; }
    std::vector<ReceivedRequest> requests() const { return m_router.requests(); }
    std::vector<std::string> targets() const;
    std::size_t count(const std::string& targetPrefix) const;

private:
    template <typename Edit>
    void editData(Edit edit) {
        routersim::RouterData data = m_model.data();
        edit(data);
        m_model.setData(std::move(data));
    }
    ScriptedReply answer(const ReceivedRequest& request);

    routersim::RouterModel m_model;
    ScriptedRouter m_router;  // last: it stops before the model it answers from goes
};

}  // namespace testsupport
