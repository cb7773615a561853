#pragma once
// Shared pieces of the module's tests: white-box access to a FritzBox, and a small router on
// loopback that logs a client in, serves data and records every request.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "FritzBox.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ScriptedRouter.h"
#include "SecureTransport.h"

class FritzBoxTestAccess {
public:
    explicit FritzBoxTestAccess(FritzBox& box) : m_box(box) {}

    std::string& sid() { return m_box.m_sid; }
    bool isValidSid() { return m_box.isValidSid(); }
    bool hasConnection() const { return m_box.m_secureConn != nullptr || m_box.m_transportContext != nullptr; }
    bool connectionUsable() const { return m_box.m_secureConn != nullptr && m_box.m_secureConn->isUsable(); }
    void clearSecureConnection(bool force) { m_box.clearSecureConnection(force); }
    std::int32_t callListSize() const { return m_box.m_callListSize; }
    std::int32_t phoneBookSize() const { return m_box.m_phoneBookSize; }
    const std::vector<std::string>& callLogIds() const { return m_box.m_callLogIds; }
    std::string fragments() const { return m_box.m_missedXml + m_box.m_placedXml + m_box.m_receivedXml; }
    const std::string& phonebookXml() const { return m_box.m_phonebookXml; }
    std::string multiPartData() { return m_box.getMultiPartData(); }
    void handleCallRecord(std::string record) { m_box.handleSingleCallLogRecord(record); }
    void handlePhonebookRecord(std::string record) { m_box.handleSinglePhonebookRecord(record); }

    struct Exchange {
        bool ok = false;
        std::string body;
        int status = 0;
    };
    Exchange exchange(const std::string& path, const std::string& body = "",
                      HttpClientIfc::HTTPMETHOD method = HttpClientIfc::GET,
                      std::multimap<std::string, std::string> headers = {}) {
        Exchange result;
        std::multimap<std::string, std::string> responseHeaders;
        HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
        result.ok = m_box.connectionHandler(path, body, method, result.body, headers, responseHeaders, status, "", 0);
        result.status = static_cast<int>(status);
        return result;
    }

private:
    FritzBox& m_box;
};

namespace moduletest {

using testsupport::ReceivedRequest;
using testsupport::ScriptedReply;

const std::string kSid = "0123456789abcdef";
const std::string kChallenge = "1234567z";
const std::string kPictureDirectory = "/data/images/fritzbox/";

// True when `log` caught a line of exactly `level` that contains `text`.
bool logged(const testsupport::LogCapture& log, int level, const std::string& text);

std::string sessionInfo(const std::string& sid, const std::string& challenge);
std::string queryValue(const std::string& target, const std::string& key);
// MD5 over `challenge-password` with every byte widened to two (the byte, then zero).
std::string widenedDigest(const std::string& challenge, const std::string& password);

// A router on loopback, mapped as "fritz.box:80", that grants a session for the right digest
// and answers the call list, the phonebook export and photos from its fields. `override`
// answers first when it returns true (for faults).
class TestRouter {
public:
    explicit TestRouter(std::string password = "geheim");

    std::string password;
    std::string callList;
    std::string phonebookExport;
    std::map<std::string, std::string> photos;  // router path -> bytes
    std::function<bool(const ReceivedRequest&, ScriptedReply&)> override;

    testsupport::ScriptedRouter& scripted() { return m_router; }
    std::vector<ReceivedRequest> requests() const { return m_router.requests(); }
    std::vector<std::string> targets() const;
    std::size_t count(const std::string& targetPrefix) const;

private:
    ScriptedReply answer(const ReceivedRequest& request);
    ScriptedReply login(const ReceivedRequest& request);
    ScriptedReply phonebook(const ReceivedRequest& request);

    testsupport::ScriptedRouter m_router;
};

// A module object with its loopback router, tracing captured, the phone model reset afterwards.
class ModuleTest : public ::testing::Test {
protected:
    void TearDown() override {
        linux_platform::setPhoneModel(linux_platform::PhoneModel::Other);
        linux_platform::clearHostMappings();
    }

    testsupport::LogCapture log{6};
    TestRouter router;
    FritzBox box{"admin", "geheim"};
    FritzBoxTestAccess access{box};
    std::string token;
};

// A body of two header lines and the given records, each ended by "\n".
std::string callListBody(const std::vector<std::string>& records);

}  // namespace moduletest
