// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The router client object, its HTTP exchange and the session login, against a router on
// loopback TCP.
#include "ModuleTest.h"
#include "RouterExchange.h"
#include "SessionLogin.h"

using namespace testsupport;
using Broadsoft::Filters::FilterTypes;

namespace {

// "ä" is two bytes: the digest widens bytes, not characters.
class RouterConnectionTest : public ModuleTest {
protected:
    RouterConnectionTest() : ModuleTest("äbc") {}

    StandaloneConnection connection;  // the module's exchange outside the object
};

TEST_F(RouterConnectionTest, LoginAnswersTheChallengeWithTheBareWidenedDigestAndKeepsTheSession) {
    router.setCallList(callListBody({}));
    ASSERT_TRUE(box.sync(FilterTypes::CallLogs, token));
    // The digest is hard-coded from an independent computation over "1234567z-äbc".
    const std::vector<std::string> expected = {
        "/login_sid.lua", "/login_sid.lua?username=admin&response=bb6e5b7c7d4d485590f4e084ad3da989",
        "/fon_num/foncalls_list.lua?csv=&sid=" + kSid};
    EXPECT_EQ(router.targets(), expected);

    router.setCallList(router.callList() + "1;15.03.24 14:30;Anna;0301234;\n");
    ASSERT_TRUE(box.sync(FilterTypes::CallLogs, token));
    EXPECT_EQ(router.count("/login_sid.lua"), 2u) << "the kept session needs no new login";
    EXPECT_EQ(router.scripted().connectionCount(), 1u) << "login and fetches share one kept connection";
}

// Each row: credentials, a session held from an earlier login (whose logout failed, so that the
// credentials could change under it), the filter, what the router's login page says (empty: the
// usual); the sync fails with this log line (which also shows whether the held session counts as
// valid). A module object going away drops its connection, forced.
TEST_F(RouterConnectionTest, RefusedSyncs) {
    const struct {
        std::string user, password, heldSid;
        int filter;
        std::string loginPage, line;
        std::size_t requests;
    } rows[] = {
        {"admin", "falsch", "", 0, "", "sync() error getting SID", 2},
        {"admin", "äbc", "", 0, "<html/>", "sync() error getting SID", 1},
        {"admin", "äbc", "", 5, "<Challenge>1234567z</Challenge>", "sync() error getting SID", 2},
        {"", "", "", 0, "", "sync() cannot sync. isValidSid()[false] dirId[0]", 0},
        {"admin", "", "", 5, "", "sync() cannot sync. isValidSid()[false] dirId[5]", 0},
        {"", "", kSid, 3, "", "sync() cannot sync. isValidSid()[true] dirId[3]", 0},
        {"", "", "0000000000000000", 3, "", "sync() cannot sync. isValidSid()[false] dirId[3]", 0},
        {"", "", "ab0000000000000000cd", 3, "", "sync() cannot sync. isValidSid()[false] dirId[3]", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line + " " + row.loginPage);
        {
            FritzBox refused(row.heldSid.empty() ? row.user : "admin", row.heldSid.empty() ? row.password : "äbc");
            if (!row.heldSid.empty()) {
                // The login hands out the row's session id; the logout that a credential change
                // sends fails, so the object keeps it with the new credentials.
                router.override = [&row](const ReceivedRequest& request, ScriptedReply& reply) {
                    const bool logout = request.target.find("logout=") != std::string::npos;
                    reply.status = logout ? 500 : 200;
                    reply.body = "<SessionInfo><SID>" + row.heldSid + "</SID><Challenge>1234567z</Challenge>";
                    return true;
                };
                std::string scratch;
                refused.sync(FilterTypes::CallLogs, scratch);
                refused.setUsername(row.user);
                refused.setPassword(row.password);
            }
            router.override = [&row](const ReceivedRequest&, ScriptedReply& reply) {
                return reply.body = row.loginPage, !row.loginPage.empty();
            };
            log.clear();
            const std::size_t before = router.scripted().requestCount();
            EXPECT_FALSE(refused.sync(static_cast<FilterTypes>(row.filter), token));
            EXPECT_EQ(router.scripted().requestCount() - before, row.requests);
        }
        EXPECT_TRUE(log.contains(row.line, 2)) << log.text();
        EXPECT_TRUE(log.contains("clearSecureConnection() OUT force[true], ", 4)) << log.text();
    }
}

TEST_F(RouterConnectionTest, CredentialChangeUnderAValidSessionLogsOutFirst) {
    router.setCallList(callListBody({}));
    ASSERT_TRUE(box.sync(FilterTypes::CallLogs, token));
    const std::size_t loggedIn = router.scripted().requestCount();
    box.setPassword("äbc");
    EXPECT_EQ(router.scripted().requestCount(), loggedIn) << "same password: nothing to invalidate";
    box.setPassword("neu");
    ASSERT_EQ(router.targets().back(), "/login_sid.lua?logout=&sid=" + kSid);
    box.setUsername("other");  // no valid session any more: only stored
    EXPECT_EQ(router.scripted().requestCount(), loggedIn + 1);

    // A logout answer without a session id empties the session: the next sync logs in again.
    box.setUsername("admin");
    box.setPassword("äbc");
    ASSERT_TRUE(box.sync(FilterTypes::CallLogs, token = ""));
    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        return reply.body = "<html/>", request.target.find("logout=") != std::string::npos;
    };
    box.setUsername("someone");
    box.setUsername("admin");
    EXPECT_TRUE(log.contains("invalidateSid() could not find SID in response", 2)) << log.text();
    const std::size_t before = router.count("/login_sid.lua?username=");
    ASSERT_TRUE(box.sync(FilterTypes::CallLogs, token = ""));
    EXPECT_EQ(router.count("/login_sid.lua?username="), before + 1) << "a new login";
}

// Each row: the final status and how many redirects (302, 307 alternating) come before it.
TEST_F(RouterConnectionTest, StatusesAndRedirects) {
    for (int hop = 1; hop <= 5; ++hop) {
        router.scripted().mapAs("hop" + std::to_string(hop) + ".test", "80");
    }
    const std::string refused = "unexpected response\nanswer\n";
    const struct {
        int status, redirects;
        std::string line;  // logged when not usable; empty: usable
    } rows[] = {{200, 0, ""},      {201, 0, ""},      {204, 0, ""},      {304, 0, ""}, {404, 0, ""},
                {303, 0, refused}, {400, 0, refused}, {500, 0, refused}, {200, 4, ""}, {200, 5, "too many redirects"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.status) + " after " + std::to_string(row.redirects));
        log.clear();
        const std::size_t before = router.scripted().requestCount();
        const std::string body = row.status == 204 || row.status == 304 ? "" : "answer";
        router.override = [&row, &body](const ReceivedRequest& request, ScriptedReply& reply) {
            const int seen = request.header("Host") == "fritz.box" ? 0 : request.header("Host")[3] - '0';
            const bool moved = seen < row.redirects;
            reply.status = moved ? (seen % 2 == 0 ? 302 : 307) : row.status;
            reply.headers = {{"Location", "http://hop" + std::to_string(seen + 1) + ".test/elsewhere"}};
            reply.body = moved ? "moved" : body;  // a redirect's body is replaced, never kept in front
            return true;
        };
        const auto result = connection.requests().post("/form", "a=b", {{"X-Test", "kept"}});
        EXPECT_EQ(result.ok, row.line.empty());
        EXPECT_TRUE(row.line.empty() ? result.body == body : log.contains("connectionHandler() " + row.line))
            << log.text();
        const auto requests = router.requests();
        ASSERT_EQ(requests.size() - before, std::min(row.redirects, 4) + 1u) << "303 and errors are not followed";
        for (std::size_t i = 0; i < requests.size() - before; ++i) {
            const ReceivedRequest& request = requests[before + i];
            EXPECT_EQ(request.method + request.target + request.body + request.header("X-Test"), "POST/forma=bkept")
                << "only the host changes";
            EXPECT_EQ(request.header("Host"), i == 0 ? "fritz.box" : "hop" + std::to_string(i) + ".test");
        }
    }
}

// Each row: an exchange and whether its connection is kept afterwards. One the router closes is
// dropped and replaced by the next exchange's; a usable one is dropped only when forced; a redirect
// to a host that cannot be reached fails without an answer and drops the connection; an
// unreachable router fails the fetch of a held session with the transport's message logged, and
// the sync after the outage sends its one request on a fresh connection.
TEST_F(RouterConnectionTest, ConnectionLifetime) {
    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        return reply.closeAfter = request.target == "/closing", true;
    };
    for (const auto& [target, kept] :
         {std::pair{"/first", true}, std::pair{"/closing", false}, std::pair{"/after", true}}) {
        EXPECT_TRUE(connection.requests().get(target).ok);
        EXPECT_EQ(connection.kept(), kept) << target;
    }
    EXPECT_EQ(router.scripted().connectionCount(), 2u);
    connection.drop(false);
    EXPECT_TRUE(connection.kept());
    connection.drop(true);
    EXPECT_FALSE(connection.kept());

    const int closedPort = ScriptedRouter().port();  // the router is gone at the end of the line
    linux_platform::mapHost("gone.test", "80", "127.0.0.1", std::to_string(closedPort));
    router.override = [](const ReceivedRequest&, ScriptedReply& reply) {
        reply.status = 302;
        reply.headers = {{"Location", "http://gone.test/"}};
        return true;
    };
    log.clear();
    EXPECT_FALSE(connection.requests().get("/moved").ok);
    EXPECT_TRUE(log.contains("clearSecureConnection() OUT force[true], ", 4)) << log.text();
    EXPECT_FALSE(connection.kept());

    // The session the outage meets, from a login whose answers each close their connection, so
    // that the object holds none when the router goes.
    router.override = nullptr;
    routersim::Faults closing;
    closing.closeConnections = true;
    router.model().setFaults(closing);
    router.setCallList(callListBody({}));
    ASSERT_TRUE(box.sync(FilterTypes::CallLogs, token));
    router.model().setFaults({});
    linux_platform::mapHost("fritz.box", "80", "127.0.0.1", std::to_string(closedPort));
    log.clear();
    EXPECT_FALSE(box.sync(FilterTypes::Personal, token));
    EXPECT_TRUE(log.contains("connectionHandler() exception='", 2));
    EXPECT_TRUE(log.contains("clearSecureConnection() OUT force[true], ", 4)) << log.text();

    linux_platform::mapHost("fritz.box", "80", "127.0.0.1", std::to_string(router.scripted().port()));
    const std::size_t before = router.scripted().requestCount();
    const std::size_t connections = router.scripted().connectionCount();
    router.setPhonebookExport("<phonebook/>");
    EXPECT_TRUE(box.sync(FilterTypes::Personal, token)) << log.text();
    EXPECT_EQ(router.scripted().requestCount() - before, 1u) << "the export alone after the outage";
    EXPECT_EQ(router.model().stats().exportFetches, 1u) << "served on the session held before the outage";
    EXPECT_EQ(router.scripted().connectionCount(), connections + 1) << "a fresh connection after the outage";
}

}  // namespace
