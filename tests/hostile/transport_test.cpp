// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The module against a router whose answer breaks on the wire. The ways an answer can break are
// the rows of tests/platform/replies; this shows what the module makes of one: the sync fails
// with the platform's reason logged, and the next sync, the router behaving again, recovers. The
// short time limits end a silent or trickling answer within a second.
#include <gtest/gtest.h>

#include "FilterTypes.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleFixture.h"

using namespace testsupport;

namespace {

TEST(TransportTest, BrokenCallListAnswerFailsTheSyncAndTheNextSyncRecovers) {
    linux_platform::setTimeLimitOverrides({500, 300, 0, 500, 40});
    testsupport::LogCapture log{6};
    ModelRouter router;
    router.setCallList(callListBody({"1;15.03.24 14:30;Anna;0301234;"}));
    FritzBox box{"admin", "geheim"};
    auto sync = [&box] {
        std::string token;  // a fresh token: any list that arrives counts as changed
        return box.sync(Broadsoft::Filters::CallLogs, token);
    };
    ASSERT_TRUE(sync());  // logged in; the fault below hits the fetch only

    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        reply.raw = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n1;15.03.24";  // then silence
        return request.target.rfind("/fon_num/", 0) == 0;
    };
    log.clear();
    EXPECT_FALSE(sync());
    EXPECT_TRUE(
        log.contains("HTTP exchange with fritz.box:80 failed: response body incomplete, oversized or malformed"));
    EXPECT_TRUE(log.contains("connectionHandler() HttpClient::FAILURE on reading response", 6));
    for (const auto& record : log.records()) {
        EXPECT_GT(record.level, 2) << "a failed fetch after a good login is no error: " << record.message;
    }

    router.override = nullptr;
    log.clear();
    const std::size_t connections = router.scripted().connectionCount();
    EXPECT_TRUE(sync()) << log.text();
    EXPECT_EQ(router.scripted().connectionCount(), connections + 1) << "a broken connection is never reused";
    EXPECT_TRUE(log.contains("getCallLogId() callLogId='2403151430' found='0'", 6));

    // A router that trickles every answer: the challenge fails at the low-speed limit, the login
    // request that follows it too, and nothing more is sent.
    router.override = [](const ReceivedRequest&, ScriptedReply& reply) { return reply.paceMs = 100, true; };
    FritzBox fresh{"admin", "geheim"};
    const std::size_t before = router.scripted().requestCount();
    log.clear();
    std::string token;
    EXPECT_FALSE(fresh.sync(Broadsoft::Filters::CallLogs, token));
    EXPECT_EQ(router.scripted().requestCount() - before, 2u) << log.text();
    EXPECT_TRUE(log.contains("(the transfer stayed below 40 bytes/s for 500 ms)"));
}

}  // namespace
