#include "ModuleTestSupport.h"

#include "Cryptographer.h"

namespace moduletest {

bool logged(const testsupport::LogCapture& log, int level, const std::string& text) {
    for (const auto& record : log.records()) {
        if (record.level == level && record.message.find(text) != std::string::npos) {
            return true;
        }
    }
    return false;
}

std::string sessionInfo(const std::string& sid, const std::string& challenge) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SessionInfo><SID>" + sid + "</SID><Challenge>" + challenge +
           "</Challenge><BlockTime>0</BlockTime><Rights></Rights></SessionInfo>";
}

std::string queryValue(const std::string& target, const std::string& key) {
    const std::size_t start = target.find(key + "=");
    if (start == std::string::npos) {
        return "";
    }
    const std::size_t valueStart = start + key.size() + 1;
    return target.substr(valueStart, target.find('&', valueStart) - valueStart);
}

std::string widenedDigest(const std::string& challenge, const std::string& password) {
    std::string widened;
    for (char byte : challenge + "-" + password) {
        widened.push_back(byte);
        widened.push_back('\0');
    }
    return Cryptographer().md5(widened);
}

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
    std::size_t matches = 0;
    for (const std::string& target : targets()) {
        matches += target.compare(0, targetPrefix.size(), targetPrefix) == 0 ? 1 : 0;
    }
    return matches;
}

ScriptedReply TestRouter::answer(const ReceivedRequest& request) {
    ScriptedReply reply;
    if (override && override(request, reply)) {
        return reply;
    }
    const std::string& target = request.target;
    if (target.rfind("/login_sid.lua", 0) == 0) {
        return login(request);
    }
    if (target != "/cgi-bin/firmwarecfg" && queryValue(target, "sid") != kSid) {
        reply.body = "<html>login page</html>";
    } else if (target.rfind("/fon_num/foncalls_list.lua?csv=", 0) == 0) {
        reply.body = callList;
    } else if (target == "/cgi-bin/firmwarecfg") {
        return phonebook(request);
    } else if (target.rfind("/lua/photo.lua?photo=", 0) == 0) {
        const auto photo = photos.find(queryValue(target, "photo"));
        reply.status = photo == photos.end() ? 404 : 200;
        reply.body = photo == photos.end() ? "no such photo" : photo->second;
    } else {
        reply.status = 404;
    }
    return reply;
}

ScriptedReply TestRouter::login(const ReceivedRequest& request) {
    ScriptedReply reply;
    const std::string& target = request.target;
    if (target.find("logout=") != std::string::npos) {
        reply.body = sessionInfo("0000000000000000", kChallenge);
    } else if (target.find("response=") == std::string::npos) {
        reply.body = sessionInfo("0000000000000000", kChallenge);
    } else {
        const bool granted = queryValue(target, "response") == widenedDigest(kChallenge, password);
        reply.body = sessionInfo(granted ? kSid : "0000000000000000", kChallenge);
    }
    return reply;
}

// Accepts the export form only with the session in its "sid" field, as the router does.
ScriptedReply TestRouter::phonebook(const ReceivedRequest& request) {
    ScriptedReply reply;
    const std::string sidField = "name=\"sid\"\r\n\r\n" + kSid + "\r\n";
    if (request.header("Content-Type") != "multipart/form-data; boundary=----WebKitFormBoundaryPhone" ||
        request.body.find(sidField) == std::string::npos) {
        reply.body = "<html>login page</html>";
    } else {
        reply.body = phonebookExport;
    }
    return reply;
}

}  // namespace moduletest
