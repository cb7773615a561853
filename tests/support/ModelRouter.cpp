// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ModelRouter.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace testsupport {

std::string callListBody(const std::vector<std::string>& records) {
    std::string body = "sep=;\nTyp;Datum;Name;Rufnummer;Nebenstelle;Eigene Rufnummer;Dauer\n";
    for (const std::string& record : records) {
        body += record + "\n";
    }
    return body;
}

routersim::SimulatorOptions predictableRouter(std::string password) {
    routersim::SimulatorOptions options;
    options.user = "admin";
    options.password = std::move(password);
    options.fixedChallenge = "1234567z";
    options.fixedSessionId = kSid;
    options.blockFailedLogins = false;
    return options;
}

ModelRouter::ModelRouter(routersim::SimulatorOptions options, routersim::RouterData data)
    : m_model(std::move(data), std::move(options)),
      m_router([this](const ReceivedRequest& request) { return answer(request); }) {
    m_router.mapAs("fritz.box", "80");
    m_model.setOwnHost("fritz.box:80");
}

std::vector<std::string> ModelRouter::targets() const {
    std::vector<std::string> result;
    for (const ReceivedRequest& request : m_router.requests()) {
        result.push_back(request.target);
    }
    return result;
}

std::size_t ModelRouter::count(const std::string& targetPrefix) const {
    const std::vector<std::string> all = targets();
    return std::count_if(all.begin(), all.end(), [&](const std::string& t) { return t.rfind(targetPrefix, 0) == 0; });
}

ScriptedReply ModelRouter::answer(const ReceivedRequest& request) {
    ScriptedReply reply;
    if (override && override(request, reply)) {
        return reply;
    }
    routersim::RouterRequest modelRequest =
        routersim::parseRequest(request.method, request.target, request.header("Content-Type"), request.body);
    modelRequest.newConnection = request.firstOnConnection;
    const routersim::RouterReply answer = m_model.answer(modelRequest);
    if (answer.delayMs > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(answer.delayMs));
    }
    reply.status = answer.status;
    reply.headers = answer.headers;
    if (!answer.contentType.empty()) {
        reply.headers.emplace_back("Content-Type", answer.contentType);
    }
    reply.body = answer.body;
    reply.closeAfter = answer.closeConnection;
    return reply;
}

}  // namespace testsupport
