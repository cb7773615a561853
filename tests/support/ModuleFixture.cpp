// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ModuleFixture.h"

#include <algorithm>

#include "Cryptographer.h"

namespace testsupport {
namespace {

const std::string kChallenge = "1234567z";
const std::string kLoginPage = "<html>login page</html>";

std::string queryValue(const std::string& target, const std::string& key) {
    const std::size_t start = target.find(key + "=");
    if (start == std::string::npos) {
        return "";
    }
    const std::size_t valueStart = start + key.size() + 1;
    return target.substr(valueStart, target.find('&', valueStart) - valueStart);
}

// MD5 over `challenge-password` with every byte widened to two (the byte, then zero).
std::string widenedDigest(const std::string& password) {
    std::string widened;
    for (char byte : kChallenge + "-" + password) {
        widened += {byte, '\0'};
    }
    return Cryptographer().md5(widened);
}

}  // namespace

std::string callListBody(const std::vector<std::string>& records) {
    std::string body = "sep=;\nTyp;Datum;Name;Rufnummer;Nebenstelle;Eigene Rufnummer;Dauer\n";
    for (const std::string& record : records) {
        body += record + "\n";
    }
    return body;
}

TestRouter::TestRouter(std::string password)
    : password(std::move(password)), m_router([this](const ReceivedRequest& request) { return answer(request); }) {
    m_router.mapAs("fritz.box", "80");
}

std::vector<std::string> TestRouter::targets() const {
    std::vector<std::string> result;
    for (const ReceivedRequest& request : m_router.requests()) {
        result.push_back(request.target);
    }
    return result;
}

std::size_t TestRouter::count(const std::string& targetPrefix) const {
    const std::vector<std::string> all = targets();
    return std::count_if(all.begin(), all.end(), [&](const std::string& t) { return t.rfind(targetPrefix, 0) == 0; });
}

ScriptedReply TestRouter::answer(const ReceivedRequest& request) {
    ScriptedReply reply;
    if (override && override(request, reply)) {
        return reply;
    }
    const std::string& target = request.target;
    if (target.rfind("/login_sid.lua", 0) == 0) {
        const bool granted =
            target.find("logout=") == std::string::npos && queryValue(target, "response") == widenedDigest(password);
        reply.body = "<SessionInfo><SID>" + (granted ? kSid : std::string(16, '0')) + "</SID><Challenge>" + kChallenge +
                     "</Challenge></SessionInfo>";
    } else if (target == "/cgi-bin/firmwarecfg") {
        // The export form counts only with its own content type and the session in its "sid" field.
        const bool form =
            request.header("Content-Type") == "multipart/form-data; boundary=----WebKitFormBoundaryPhone" &&
            request.body.find("name=\"sid\"\r\n\r\n" + kSid + "\r\n") != std::string::npos;
        reply.body = form ? phonebookExport : kLoginPage;
    } else if (queryValue(target, "sid") != kSid) {
        reply.body = kLoginPage;
    } else if (target.rfind("/fon_num/foncalls_list.lua?csv=", 0) == 0) {
        reply.body = callList;
    } else if (target.rfind("/lua/photo.lua?photo=", 0) == 0) {
        const auto photo = photos.find(queryValue(target, "photo"));
        reply.status = photo == photos.end() ? 404 : 200;
        reply.body = photo == photos.end() ? "no such photo" : photo->second;
    } else {
        reply.status = 404;
    }
    return reply;
}

}  // namespace testsupport
