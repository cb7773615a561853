// The router client object, its HTTP exchange and the session login, against a router on
// loopback TCP.
#include <chrono>
#include <thread>

#include "ModuleTest.h"

using namespace testsupport;
using Broadsoft::Filters::FilterTypes;

namespace {

class RouterConnectionTest : public ::testing::Test {
protected:
    void SetUp() override { linux_platform::setPhoneModel(linux_platform::PhoneModel::Other); }
    void TearDown() override { linux_platform::clearHostMappings(); }

    testsupport::LogCapture log{6};
    TestRouter router{"äbc"};
};

TEST_F(RouterConnectionTest, FreshObjectServesAnEmptyDirectoryAndNothingForOtherFilters) {
    FritzBox box("admin", "äbc");
    EXPECT_EQ(box.getData(static_cast<FilterTypes>(5)),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Personal "
              "xmlns=\"http://schema.broadsoft.com/xsi\"><numberOfRecords>0</numberOfRecords>"
              "<totalAvailableRecords>0</totalAvailableRecords></Personal>");
    EXPECT_EQ(box.getData(static_cast<FilterTypes>(1)), "");
    EXPECT_EQ(box.getData(static_cast<FilterTypes>(7)), "");
}

TEST_F(RouterConnectionTest, LoginAnswersTheChallengeWithTheBareWidenedDigestAndKeepsTheSession) {
    router.callList = callListBody({});
    FritzBox box("admin", "äbc");
    std::string token;
    ASSERT_TRUE(box.sync(static_cast<FilterTypes>(0), token));

    // The two-byte "ä" contributes two 16-bit units; the digest is hard-coded from an
    // independent computation of MD5 over "1234567z-äbc" widened byte by byte.
    const std::vector<std::string> expected = {
        "/login_sid.lua", "/login_sid.lua?username=admin&response=bb6e5b7c7d4d485590f4e084ad3da989",
        "/fon_num/foncalls_list.lua?csv=&sid=" + kSid};
    EXPECT_EQ(router.targets(), expected);
    EXPECT_EQ(FritzBoxTestAccess(box).sid(), kSid);

    router.callList += "1;15.03.24 14:30;Anna;0301234;\n";
    ASSERT_TRUE(box.sync(static_cast<FilterTypes>(0), token));
    EXPECT_EQ(router.count("/login_sid.lua"), 2u) << "the kept session needs no new login";
    EXPECT_EQ(router.scripted().connectionCount(), 1u) << "login and fetches share one kept connection";
}

TEST_F(RouterConnectionTest, WrongPasswordFailsTheSyncWithBothErrorLines) {
    FritzBox box("admin", "falsch");
    std::string token;
    EXPECT_FALSE(box.sync(static_cast<FilterTypes>(0), token));
    EXPECT_TRUE(log.contains("sync() error getting SID", 2));
    EXPECT_TRUE(log.contains("sync() cannot sync. isValidSid()[false] dirId[0]", 2));
    EXPECT_EQ(router.count("/fon_num"), 0u);
}

TEST_F(RouterConnectionTest, UnknownFilterAndMissingCredentialsAreRefused) {
    FritzBox box("", "");
    std::string token;
    EXPECT_FALSE(box.sync(static_cast<FilterTypes>(0), token));
    EXPECT_EQ(router.scripted().requestCount(), 0u) << "no login without credentials";

    FritzBoxTestAccess(box).sid() = kSid;  // a session that is still valid is used as it is
    EXPECT_FALSE(box.sync(static_cast<FilterTypes>(3), token));
    EXPECT_TRUE(log.contains("sync() cannot sync. isValidSid()[true] dirId[3]", 2));
}

TEST_F(RouterConnectionTest, SessionValidityRules) {
    FritzBox box("admin", "äbc");
    FritzBoxTestAccess access(box);
    for (const auto& [sid, valid] : std::vector<std::pair<std::string, bool>>{
             {"", false}, {"0000000000000000", false}, {"ab0000000000000000cd", false}, {"0123456789abcdef", true}}) {
        access.sid() = sid;
        EXPECT_EQ(access.isValidSid(), valid) << sid;
    }
}

TEST_F(RouterConnectionTest, CredentialChangeUnderAValidSessionLogsOutFirst) {
    FritzBox box("admin", "äbc");
    FritzBoxTestAccess(box).sid() = kSid;
    box.setPassword("äbc");
    EXPECT_EQ(router.scripted().requestCount(), 0u) << "same password: nothing to invalidate";

    box.setPassword("neu");
    ASSERT_EQ(router.targets(), std::vector<std::string>{"/login_sid.lua?logout=&sid=" + kSid});
    EXPECT_FALSE(FritzBoxTestAccess(box).isValidSid());
    EXPECT_TRUE(log.contains("setPassword() password has changed. invalidating SID", 6));
    EXPECT_TRUE(log.contains("setPassword() m_password.length='3'", 6));

    box.setUsername("other");  // no valid session any more: only stored
    EXPECT_EQ(router.scripted().requestCount(), 1u);
    EXPECT_TRUE(log.contains("setUsername() m_username='other'", 6));
}

TEST_F(RouterConnectionTest, LogoutAnswerWithoutSidEmptiesTheSession) {
    FritzBox box("admin", "äbc");
    FritzBoxTestAccess(box).sid() = kSid;
    router.override = [](const ReceivedRequest&, ScriptedReply& reply) {
        reply.body = "<html>no session info</html>";
        return true;
    };
    box.setUsername("someone");
    EXPECT_EQ(FritzBoxTestAccess(box).sid(), "");
    EXPECT_TRUE(log.contains("invalidateSid() could not find SID in response", 2));
}

class StatusTableTest : public RouterConnectionTest, public ::testing::WithParamInterface<std::pair<int, bool>> {};

TEST_P(StatusTableTest, OnlyTheListedStatusesAreUsable) {
    const auto [status, usable] = GetParam();
    router.override = [status = status](const ReceivedRequest&, ScriptedReply& reply) {
        reply.status = status;
        reply.body = status == 204 || status == 304 ? "" : "answer body";
        return true;
    };
    FritzBox box("admin", "äbc");
    const auto result = FritzBoxTestAccess(box).exchange("/any");
    EXPECT_EQ(result.ok, usable);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(router.scripted().requestCount(), 1u) << "303 and errors are not followed";
    if (!usable) {
        EXPECT_TRUE(log.contains("connectionHandler() unexpected response\nanswer body\n", 6));
    }
}

INSTANTIATE_TEST_SUITE_P(Statuses, StatusTableTest,
                         ::testing::Values(std::pair{200, true}, std::pair{201, true}, std::pair{204, true},
                                           std::pair{304, true}, std::pair{404, true}, std::pair{303, false},
                                           std::pair{400, false}, std::pair{500, false}));

TEST_F(RouterConnectionTest, FourRedirectsAreFollowedWithPathMethodBodyAndHeadersKept) {
    for (const char* hop : {"hop1.test", "hop2.test", "hop3.test", "hop4.test", "hop5.test"}) {
        router.scripted().mapAs(hop, "80");
    }
    auto redirects = [this](int count) {
        router.override = [count](const ReceivedRequest& request, ScriptedReply& reply) {
            const int seen = request.header("Host") == "fritz.box" ? 0 : request.header("Host")[3] - '0';
            if (seen < count) {
                reply.status = seen % 2 == 0 ? 302 : 307;
                reply.headers = {{"Location", "http://hop" + std::to_string(seen + 1) + ".test/elsewhere"}};
                reply.body = "moved";  // replaced by the next answer, never kept in front of it
            } else {
                reply.body = "arrived";
            }
            return true;
        };
    };
    FritzBox box("admin", "äbc");
    redirects(4);
    const auto arrived = FritzBoxTestAccess(box).exchange("/form", "a=b", HttpClientIfc::POST, {{"X-Test", "kept"}});
    EXPECT_TRUE(arrived.ok);
    EXPECT_EQ(arrived.body, "arrived");
    const auto requests = router.requests();
    ASSERT_EQ(requests.size(), 5u);
    for (std::size_t i = 0; i < requests.size(); ++i) {
        EXPECT_EQ(requests[i].method, "POST");
        EXPECT_EQ(requests[i].target, "/form") << "the path is kept, only the host changes";
        EXPECT_EQ(requests[i].body, "a=b");
        EXPECT_EQ(requests[i].header("X-Test"), "kept");
        EXPECT_EQ(requests[i].header("Host"), i == 0 ? "fritz.box" : "hop" + std::to_string(i) + ".test");
    }

    redirects(5);
    EXPECT_FALSE(FritzBoxTestAccess(box).exchange("/form").ok);
    EXPECT_TRUE(log.contains("connectionHandler() too many redirects", 2));
}

TEST_F(RouterConnectionTest, LongBodyArrivesInBoundedReadsAndIsReassembled) {
    std::string body(500 * 1024, '\0');
    for (std::size_t i = 0; i < body.size(); ++i) {
        body[i] = static_cast<char>('a' + (i * 7) % 26);
    }
    router.override = [&body](const ReceivedRequest&, ScriptedReply& reply) {
        reply.body = body;
        reply.framing = ScriptedReply::Framing::Chunked;
        reply.chunkSize = 70000;
        return true;
    };
    FritzBox box("admin", "äbc");
    const auto result = FritzBoxTestAccess(box).exchange("/big");
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(result.body, body);
    EXPECT_TRUE(log.contains("result: 2, maxResponseLength: 204800", 6));
}

TEST_F(RouterConnectionTest, ConnectionClosedByTheRouterIsReplaced) {
    FritzBox box("admin", "äbc");
    FritzBoxTestAccess access(box);
    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        reply.body = "ok";
        reply.closeAfter = request.target == "/closing";
        return true;
    };
    ASSERT_TRUE(access.exchange("/first").ok);
    ASSERT_TRUE(access.exchange("/closing").ok);
    EXPECT_FALSE(access.hasConnection()) << "an unusable connection is dropped after the exchange";
    ASSERT_TRUE(access.exchange("/after").ok);
    EXPECT_EQ(router.scripted().connectionCount(), 2u);

    // The router drops the kept connection silently. Once the hang-up has arrived, the next
    // exchange opens a new connection instead of failing on the dead one.
    router.scripted().closeIdleConnections();
    for (int wait = 0; wait < 500 && access.connectionUsable(); ++wait) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(access.exchange("/again").ok);
    EXPECT_EQ(router.scripted().connectionCount(), 3u);

    access.clearSecureConnection(false);
    EXPECT_TRUE(access.hasConnection()) << "a usable connection is kept";
    access.clearSecureConnection(true);
    EXPECT_FALSE(access.hasConnection());
}

TEST_F(RouterConnectionTest, UnreachableRouterFailsWithTheTransportMessageLogged) {
    int closedPort = 0;
    {
        testsupport::ScriptedRouter gone;
        closedPort = gone.port();
    }
    linux_platform::mapHost("fritz.box", "80", "127.0.0.1", std::to_string(closedPort));
    FritzBox box("admin", "äbc");
    std::string token;
    EXPECT_FALSE(box.sync(static_cast<FilterTypes>(5), token));
    EXPECT_TRUE(log.contains("connectionHandler() exception='", 2));
    EXPECT_TRUE(log.contains("sync() cannot sync. isValidSid()[false] dirId[5]", 2));
    EXPECT_FALSE(FritzBoxTestAccess(box).hasConnection());
}

TEST_F(RouterConnectionTest, TracingNeverShowsThePassword) {
    router.callList = callListBody({"1;15.03.24 14:30;Anna;0301234;"});
    {
        FritzBox box("admin", "äbc");
        std::string token;
        ASSERT_TRUE(box.sync(static_cast<FilterTypes>(0), token));
        box.setPassword("äbc-secret");
    }
    EXPECT_TRUE(log.contains("getSid() challenge='1234567z'", 6));
    EXPECT_TRUE(log.contains("getSid() m_sid='" + kSid + "'", 6));
    EXPECT_TRUE(log.contains("clearSecureConnection() OUT force[true]", 4));
    for (const auto& record : log.records()) {
        EXPECT_EQ(record.module, "Broadsoft Service");
        EXPECT_EQ(record.sourcePath, "./src/FritzBox");
        EXPECT_EQ(record.message.find("äbc"), std::string::npos) << record.message;
    }
}

}  // namespace
