#include "ModuleFixture.h"

#include "Cryptographer.h"

FritzBoxTestAccess::Exchange FritzBoxTestAccess::exchange(const std::string& path, const std::string& body,
                                                          HttpClientIfc::HTTPMETHOD method,
                                                          std::multimap<std::string, std::string> headers) {
    Exchange result;
    std::multimap<std::string, std::string> responseHeaders;
    HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
    result.ok = m_box.connectionHandler(path, body, method, result.body, headers, responseHeaders, status, "", 0);
    result.status = static_cast<int>(status);
    return result;
}

namespace testsupport {
namespace {

const std::string kNoSession = "0000000000000000";
const std::string kLoginPage = "<html>login page</html>";

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

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
        matches += startsWith(target, targetPrefix) ? 1 : 0;
    }
    return matches;
}

ScriptedReply TestRouter::answer(const ReceivedRequest& request) {
    ScriptedReply reply;
    if (override && override(request, reply)) {
        return reply;
    }
    const std::string& target = request.target;
    if (startsWith(target, "/login_sid.lua")) {
        return login(request);
    }
    if (target == "/cgi-bin/firmwarecfg") {
        return phonebook(request);
    }
    const auto photo = photos.find(queryValue(target, "photo"));
    if (queryValue(target, "sid") != kSid) {
        reply.body = kLoginPage;
    } else if (startsWith(target, "/fon_num/foncalls_list.lua?csv=")) {
        reply.body = callList;
    } else if (startsWith(target, "/lua/photo.lua?photo=")) {
        reply.status = photo == photos.end() ? 404 : 200;
        reply.body = photo == photos.end() ? "no such photo" : photo->second;
    } else {
        reply.status = 404;
    }
    return reply;
}

ScriptedReply TestRouter::login(const ReceivedRequest& request) const {
    const std::string& target = request.target;
    const bool granted = target.find("logout=") == std::string::npos && target.find("response=") != std::string::npos &&
                         queryValue(target, "response") == widenedDigest(kChallenge, password);
    ScriptedReply reply;
    reply.body = sessionInfo(granted ? kSid : kNoSession, kChallenge);
    return reply;
}

// Accepts the export form only with the session in its "sid" field, as the router does.
ScriptedReply TestRouter::phonebook(const ReceivedRequest& request) const {
    const std::string sidField = "name=\"sid\"\r\n\r\n" + kSid + "\r\n";
    const bool form = request.header("Content-Type") == "multipart/form-data; boundary=----WebKitFormBoundaryPhone";
    ScriptedReply reply;
    reply.body = form && request.body.find(sidField) != std::string::npos ? phonebookExport : kLoginPage;
    return reply;
}

}  // namespace testsupport
