#pragma once
// The module's fixture, shared by the module tests, the fuzz targets and the benchmarks:
// white-box access to a FritzBox, and a router's logic (login, call list, phonebook export,
// photos) answering through the scripted loopback router.
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "FritzBox.h"
#include "ScriptedRouter.h"
#include "SecureTransport.h"

class FritzBoxTestAccess {
public:
    explicit FritzBoxTestAccess(FritzBox& box) : m_box(box) {}

    std::string& sid() { return m_box.m_sid; }
    bool isValidSid() { return m_box.isValidSid(); }
    bool hasConnection() const { return m_box.m_secureConn != nullptr || m_box.m_transportContext != nullptr; }
    void clearSecureConnection(bool force) { m_box.clearSecureConnection(force); }
    std::int32_t callListSize() const { return m_box.m_callListSize; }
    std::int32_t phoneBookSize() const { return m_box.m_phoneBookSize; }
    const std::vector<std::string>& callLogIds() const { return m_box.m_callLogIds; }
    std::string fragments() const { return m_box.m_missedXml + m_box.m_placedXml + m_box.m_receivedXml; }
    const std::string& phonebookXml() const { return m_box.m_phonebookXml; }
    std::string multiPartData() { return m_box.getMultiPartData(); }
    void handleCallRecord(std::string record) { m_box.handleSingleCallLogRecord(record); }
    void handlePhonebookRecord(std::string record) { m_box.handleSinglePhonebookRecord(record); }
    // What a fetch clears before it converts; repeated conversions would otherwise pile up.
    void forgetConversions() { m_box.m_callLogIds.clear(), m_box.m_phonebookXml.clear(); }

    struct Exchange {
        bool ok;
        std::string body;
    };
    Exchange exchange(const std::string& path, const std::string& body = "",
                      HttpClientIfc::HTTPMETHOD method = HttpClientIfc::GET,
                      std::multimap<std::string, std::string> headers = {}) {
        Exchange result{false, ""};
        std::multimap<std::string, std::string> responseHeaders;
        HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
        result.ok = m_box.connectionHandler(path, body, method, result.body, headers, responseHeaders, status, "", 0);
        return result;
    }

private:
    FritzBox& m_box;
};

namespace testsupport {

const std::string kSid = "0123456789abcdef";
const std::string kPictureDirectory = "/data/images/fritzbox/";

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
