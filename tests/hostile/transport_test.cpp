// The module against a router that misbehaves on the wire: redirect loops, bodies beyond the
// platform's 16 MiB cap, answers that stall or end mid-body, malformed status lines and headers.
// Every case must end in bounded time with a log line naming the failure, and the next sync must
// work once the router behaves again.
#include <gtest/gtest.h>

#include "HostileSupport.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleFixture.h"

using namespace testsupport;
using namespace hostile;

namespace {

const std::size_t kBodyCap = linux_platform::kMaxResponseBodyBytes;
const char* const kExchangeFailed = "HTTP exchange with fritz.box:80 failed: ";

class TransportTest : public ::testing::Test {
protected:
    // Short I/O time-outs, so that the stalling routers below cost a fraction of a second.
    void SetUp() override {
        router.callList = callListBody({"1;15.03.24 14:30;Anna;0301234;"});
        linux_platform::setTimeLimitOverrides({500, 300, 0});
    }
    void TearDown() override {
        linux_platform::clearHostMappings();
        linux_platform::setTimeLimitOverrides({});
    }

    // The call-list fetch is answered with `reply`; login and everything else stay normal.
    void faultCallList(const ScriptedReply& reply) {
        router.override = [reply](const ReceivedRequest& request, ScriptedReply& answer) {
            if (request.target.rfind("/fon_num/", 0) != 0) {
                return false;
            }
            answer = reply;
            return true;
        };
    }

    bool syncCallList() {
        std::string token;  // a fresh token: any list that arrives counts as changed
        return finishes([&] { return box.sync(kCallLogs, token); });
    }

    // The router behaves again and the kept session fetches the list.
    void expectRecovery() {
        router.override = nullptr;
        EXPECT_TRUE(syncCallList()) << log.text();
        EXPECT_EQ(access.callLogIds().size(), 1u);
    }

    testsupport::LogCapture log{6};
    TestRouter router;
    FritzBox box{"admin", "geheim"};
    FritzBoxTestAccess access{box};
};

// The module follows the Location's host only, so a loop to the same router, a relative
// Location and a 302 without Location all come back to fritz.box until the fifth redirect.
TEST_F(TransportTest, RedirectLoopsStopAtTheFifthRedirect) {
    for (const char* location : {"http://fritz.box/loop", "/relative", ""}) {
        SCOPED_TRACE(location);
        router.override = [location](const ReceivedRequest&, ScriptedReply& reply) {
            reply.status = 302;
            if (*location != '\0') {
                reply.headers = {{"Location", location}};
            }
            return true;
        };
        const std::size_t before = router.scripted().requestCount();
        EXPECT_FALSE(syncCallList());
        EXPECT_TRUE(log.contains("connectionHandler() too many redirects"));
        EXPECT_TRUE(log.contains("sync() cannot sync. isValidSid()[false] dirId[0]"));
        // Both login steps give up after the request and its four redirects.
        EXPECT_EQ(router.scripted().requestCount() - before, 10u);
    }
    expectRecovery();
}

TEST_F(TransportTest, BodiesBeyondTheSizeCapFailTheFetch) {
    ASSERT_TRUE(syncCallList());  // logged in; the faults below hit the fetch only
    ScriptedReply declared;
    declared.headers = {{"Content-Length", std::to_string(kBodyCap + 1)}};
    declared.body = "a declared length is refused before any body byte is read";
    ScriptedReply chunked;
    chunked.body = std::string(kBodyCap + 1024 * 1024, 'x');
    chunked.framing = ScriptedReply::Framing::Chunked;
    chunked.chunkSize = 1024 * 1024;
    ScriptedReply untilClose = chunked;
    untilClose.framing = ScriptedReply::Framing::UntilClose;

    for (const ScriptedReply& reply : {declared, chunked, untilClose}) {
        faultCallList(reply);
        EXPECT_FALSE(syncCallList());
        EXPECT_TRUE(log.contains("connectionHandler() HttpClient::FAILURE on reading response"));
    }
    EXPECT_TRUE(log.contains(std::string(kExchangeFailed) + "invalid or oversized Content-Length"));
    EXPECT_TRUE(log.contains(std::string(kExchangeFailed) + "response body incomplete, oversized or malformed"));
    expectRecovery();
}

// A router that gives up the kept connection just as the next request arrives costs one new
// connection, not a failed sync.
TEST_F(TransportTest, RouterDroppingTheKeptConnectionCostsOneReconnect) {
    ASSERT_TRUE(syncCallList());
    ScriptedReply hangUp;
    hangUp.noAnswer = true;
    router.scripted().queueReply(hangUp);
    EXPECT_TRUE(syncCallList()) << log.text();
    EXPECT_EQ(router.scripted().connectionCount(), 2u);
}

// A failed fetch after a good login writes no level-2 line: only the platform's level-4 line and
// the module's trace say why the list did not change.
TEST_F(TransportTest, AnswersThatStallOrEndMidBodyFailWithinTheIoTimeout) {
    ScriptedReply silentMidBody;  // the head and a few bytes, then nothing, connection left open
    silentMidBody.raw = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n1;15.03.24";
    ScriptedReply silentBeforeHead;
    silentBeforeHead.delayMs = 20000;
    ScriptedReply cutMidBody;
    cutMidBody.body = std::string(1000, 'x');
    cutMidBody.truncateBodyAt = 10;
    ScriptedReply cutMidChunk = cutMidBody;
    cutMidChunk.framing = ScriptedReply::Framing::Chunked;
    ScriptedReply hangUp;
    hangUp.noAnswer = true;

    for (const ScriptedReply& reply : {silentMidBody, silentBeforeHead, cutMidBody, cutMidChunk, hangUp}) {
        faultCallList(reply);
        EXPECT_FALSE(syncCallList());
        EXPECT_FALSE(access.hasConnection()) << "a broken connection is never reused";
    }
    EXPECT_TRUE(log.contains(std::string(kExchangeFailed) + "response body incomplete, oversized or malformed"));
    EXPECT_TRUE(log.contains(std::string(kExchangeFailed) + "no valid response head"));
    for (const auto& record : log.records()) {
        EXPECT_GT(record.level, 2) << record.message;
    }
    expectRecovery();
}

TEST_F(TransportTest, MalformedStatusLinesAndHeadersFailTheExchange) {
    const std::string interimStorm = [] {
        std::string storm;
        while (storm.size() <= 64 * 1024) {
            storm += "HTTP/1.1 100 Continue\r\n\r\n";
        }
        return storm;
    }();
    const std::vector<std::string> malformed = {
        "HTTP/1.1 2000 OK\r\nContent-Length: 0\r\n\r\n",
        "HTTP/1.1 OK\r\nContent-Length: 0\r\n\r\n",
        "HTTP/1.1 099 Low\r\nContent-Length: 0\r\n\r\n",
        "ICY 200 OK\r\nContent-Length: 2\r\n\r\nok",
        "\r\n\r\n",
        "HTTP/1.1 200 OK\r\nHeader line without colon\r\n\r\n",
        "HTTP/1.1 200 OK\r\nBad Name: x\r\nContent-Length: 0\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Length: 3\r\n\r\nok",
        "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nokXX0\r\n\r\n",
        "HTTP/1.1 200 OK\r\nX-Long: " + std::string(70 * 1024, 'a') + "\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n",
        interimStorm,
    };
    ASSERT_TRUE(syncCallList());
    for (const std::string& raw : malformed) {
        SCOPED_TRACE(raw.substr(0, 60));
        ScriptedReply reply;
        reply.raw = raw;
        reply.closeAfter = true;
        faultCallList(reply);
        EXPECT_FALSE(syncCallList());
        EXPECT_TRUE(log.contains(kExchangeFailed));
        expectRecovery();
    }
}

}  // namespace
