// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The platform's transport and HTTP client against ScriptedRouter over real loopback TCP, with the
// reply rows of replies/ that are about the socket (the others run on a scripted byte source in
// ResponseReaderTest.cpp).
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <thread>

#include "HttpClient.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ReplyFiles.h"
#include "ScriptedRouter.h"
#include "SecureTransport.h"

namespace {

using namespace testsupport;

struct Request {
    HttpClient::HTTPMETHOD method = HttpClient::GET;
    std::string target = "/path", host = "fritz.box", port = "80", body{}, user{}, password{};
    bool keepAlive = true;
    std::size_t reads = 0;  // the reader walks away after this many reads (0: reads to the end)
    HttpClient::HeaderMap headers{};
};

using Outcome = std::map<std::string, std::string>;  // named as the fields of the reply files

class HttpClientTest : public ::testing::Test {
protected:
    // Short limits (connect, I/O, whole exchange, low-speed window and floor), so that silent and
    // trickling routers cost a fraction of a second.
    void SetUp() override {
        linux_platform::resetTransportStats();
        linux_platform::setTimeLimitOverrides({500, 300, 1000, 500, 40});
        router.mapAs("fritz.box", "80");
    }
    void TearDown() override {
        linux_platform::clearHostMappings();
        linux_platform::setTimeLimitOverrides({});
    }

    // One request on `connection`, its body read in pieces of at most 200 KiB, by a client that goes
    // at the end (with what it left unread, so whether the connection is usable is asked afterwards).
    static Outcome exchange(SecureConnection& connection, const Request& request = {}) {
        HttpClient client;
        client.setDestinationHost(request.host, request.port);
        HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
        int totalLength = 0;
        std::string body, pieces;
        HttpClient::HeaderMap headers;
        const bool sent = client.sendRequest(&connection, request.method, 0, request.headers, request.target.c_str(),
                                             request.body.c_str(), request.body.size(), request.user, request.password,
                                             request.keepAlive, 0) == HttpClient::SUCCESS;
        int result =
            sent ? client.readResponse(&connection, body, 204800, status, totalLength, headers) : HttpClient::FAILURE;
        for (std::size_t reads = 1, before = 0;; ++reads) {
            pieces += (reads > 1 ? " " : "") + std::to_string(body.size() - before);
            if (result != HttpClient::MORE_DATA || reads == request.reads) {
                break;
            }
            EXPECT_TRUE(connection.isUsable()) << "usable while its owner still reads the body";
            before = body.size();
            result = client.readMoreData(&connection, body, 204800);  // appends
        }
        // The module takes a failure only as exactly 1: any other value is shown as it is.
        const std::string ending = result == HttpClient::SUCCESS     ? "complete"
                                   : result == HttpClient::MORE_DATA ? "more"
                                   : result == HttpClient::FAILURE   ? "failure"
                                                                     : "result " + std::to_string(result);
        return {{"result", ending},
                {"status", std::to_string(status)},
                {"length", std::to_string(totalLength)},
                {"body", body},
                {"pieces", pieces},
                {"redirect-host", client.getRedirectHost()}};
    }

    // Answers with the request's method what no test queued a reply for.
    ScriptedRouter router{[](const ReceivedRequest& request) { return ScriptedReply{200, {}, request.method}; }};
    SecureTransportContext context =
        SecureTransportContext(SecurityCertificate(), SecurityKey("", ""), SecurityCertificate(),
                               SecureTransportContextIfc::eTLSv1_2, nullptr, nullptr, "");
};

// ---- the reply rows about sockets (ReplyFiles.h), over loopback TCP

// A socket listening on 127.0.0.1 with a queue of one connection, where `host`:80 now leads.
int listenAs(const std::string& host) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t size = sizeof address;
    const auto name = reinterpret_cast<sockaddr*>(&address);
    EXPECT_TRUE(::bind(fd, name, size) == 0 && ::listen(fd, 0) == 0 && ::getsockname(fd, name, &size) == 0);
    linux_platform::mapHost(host, "80", "127.0.0.1", std::to_string(ntohs(address.sin_port)));
    return fd;
}

class ReplyTest : public HttpClientTest, public ::testing::WithParamInterface<std::string> {};

// Every field the file gives is compared, "log" also when it gives none, so that no row fails unnoticed.
TEST_P(ReplyTest, EndsAsTheFileSays) {
    const replyfiles::ReplyFile file = replyfiles::readReplyFile(GetParam());
    std::map<std::string, std::string> fields = file.fields;
    fields.emplace("log", "");
    fields.emplace("target", "/path");
    ScriptedReply reply{200, {}, {}, false, std::string(), std::atoi(fields["pace-ms"].c_str())};
    for (const std::string& piece : file.pieces) {
        *reply.raw += piece;
    }
    reply.resetAfter = file.ending == replyfiles::Ending::Reset;
    reply.closeAfter = file.ending != replyfiles::Ending::Open;
    router.queueReply(reply);
    testsupport::LogCapture log(4);
    SecureConnection connection(context, "fritz.box", "80", 5, 5, true);
    Request request{fields["request"] == "HEAD" ? HttpClient::HEAD : HttpClient::GET, fields["target"]};
    request.reads = std::strtoul(fields["reads"].c_str(), nullptr, 10);
    Outcome seen = exchange(connection, request);
    seen["usable"] = connection.isUsable() ? "yes" : "no";
    seen["sent"] = router.requests().empty() ? "" : router.requests()[0].target;
    seen["log"] = "";
    for (const auto& record : log.records()) {  // the reasons of failure lines: its own failure and no other
        const std::size_t at = record.message.find(" failed: ");
        seen["log"] += at == std::string::npos ? "" : record.message.substr(at + 9);
    }
    for (const auto& [key, value] : fields) {
        if (key != "request" && key != "target" && key != "pace-ms" && key != "reads") {
            ASSERT_EQ(seen.count(key), 1u) << "unknown field " << key;
            EXPECT_TRUE(seen[key] == value)
                << key << ": " << seen[key].substr(0, 100) << " (" << seen[key].size() << " bytes)";
        }
    }
    if (fields["usable"] == "yes") {  // in step: the next answer on it is the next one sent
        EXPECT_EQ(exchange(connection)["body"], "GET");
        EXPECT_EQ(router.connectionCount(), 1u);
    }
}

INSTANTIATE_TEST_SUITE_P(Replies, ReplyTest, ::testing::ValuesIn(replyfiles::replyNames(true)),
                         [](const auto& info) { return replyfiles::testNameOf(info.param); });

// ---- behaviour beyond a single reply

// Also run by with-silent-dns.sh, whose resolver asks only a socket that this test then holds and
// never answers: glibc alone would wait 10 s and more, the platform only its connect time-out.
TEST_F(HttpClientTest, ConnectFailuresThrowReadableErrorsInTime) {
    const bool silentDns = std::getenv("FRITZBOX_SILENT_DNS") != nullptr;
    const int nameServer = ::socket(AF_INET, SOCK_DGRAM, 0);
    const sockaddr_in address{AF_INET, htons(53), {htonl(INADDR_LOOPBACK)}, {}};
    ASSERT_TRUE(!silentDns || ::bind(nameServer, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    const std::string closedPort = std::to_string(ScriptedRouter().port());  // nobody listens there now
    linux_platform::mapHost("closed.box", "80", "127.0.0.1", closedPort);
    linux_platform::mapHost("closed6.box", "80", "::1", closedPort);
    linux_platform::mapHost("mapped.box", "80", "no-such-host.invalid", "80");
    // A listener whose queue (of one) is full drops the SYN of every further connect, which then times out.
    const int full = listenAs("full.box");
    SecureConnection queued(context, "full.box", "80", 2, 2, true);
    const struct {
        std::string host;
        bool plainText;
        std::string error;
    } rows[] = {{"closed.box", true, "closed.box:80 (127.0.0.1:" + closedPort + "): Connection refused"},
                {"closed6.box", true, "closed6.box:80 ([::1]:" + closedPort + "): Connection refused"},
                {"no-such-host.invalid", true,
                 silentDns ? "no answer from the name service in time" : "resolve host 'no-such-host.invalid': "},
                {"mapped.box", true, "cannot resolve host 'mapped.box' (mapped to 'no-such-host.invalid'): "},
                {"full.box", true, "): timed out"},
                {"fritz.box", false, "TLS is not available"}};
    for (const auto& row : rows) {
        const auto start = std::chrono::steady_clock::now();
        try {
            SecureConnection connection(context, row.host, "80", 2, 2, row.plainText);
            ADD_FAILURE() << row.host << " connected";
        } catch (const SecureTransportException& error) {
            EXPECT_NE(std::string(error.what()).find(row.error), std::string::npos) << error.what();
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)) << row.host;
    }
    // Nobody takes the bytes sent on the queued connection: sending ends at the I/O time-out.
    const Request unread{HttpClient::POST, "/path", "full.box", "80", std::string(16u << 20, 'x')};
    EXPECT_EQ(exchange(queued, unread)["result"], "failure");
    EXPECT_EQ(linux_platform::transportStats().connectionsOpened, 1u) << "only the one that fills the queue";
    ::close(nameServer);
    ::close(full);
}

TEST(HostMapping, TextIsParsedAndNamesCompareWithoutCase) {
    const struct {
        std::string text, resolved;  // what "ROUTER.example:80" goes to after the text; "" for a bad text
    } rows[] = {{"Router.Example:80:127.0.0.2:65535", "127.0.0.2 65535"},
                {"router.example:80:[::1]:8081", "::1 8081"},
                {"router.example:80:127.0.0.1", ""},
                {"router.example:x:127.0.0.1:80", ""},
                {"router.example:80:[::1:80", ""},
                {":80:a:80", ""},
                {"router.example:80", ""}};
    for (const auto& row : rows) {
        std::string error, address, port;
        linux_platform::clearHostMappings();
        const bool mapped = linux_platform::mapHostFromText(row.text, error);
        EXPECT_TRUE(mapped == !row.resolved.empty() && error.empty() == mapped) << row.text << ": " << error;
        linux_platform::resolveMappedHost("ROUTER.example", "80", address, port);
        EXPECT_EQ(address + " " + port, row.resolved.empty() ? "ROUTER.example 80" : row.resolved) << row.text;
    }
    std::string address, port;  // a program's address option, which may leave out the port
    EXPECT_TRUE(linux_platform::parseAddressAndPort("[::1]", "80", address, port) && address + " " + port == "::1 80");
}

// A router that drops a connection while it is idle costs one new connection: noticed before
// sending, or, for a GET, after a request the router never answered. A router that hangs up after
// part of the answer, or while a request is still being sent, fails the exchange; a POST is never
// sent twice.
TEST_F(HttpClientTest, KeptConnectionThatTheRouterClosedIsReplacedOnce) {
    // A connection that never carried an exchange, reset by the router while idle.
    const int resetting = listenAs("reset.box");
    SecureConnection reset(context, "reset.box", "80", 5, 5, true);
    ::close(resetting);  // resets the connection it never accepted, which loopback reports at once
    EXPECT_FALSE(reset.isUsable()) << "a connection the router reset";

    testsupport::LogCapture log(4);
    SecureConnection connection(context, "fritz.box", "80", 5, 5, true);
    router.queueReply({200, {}, {}, true, std::string("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok")});
    EXPECT_EQ(exchange(connection)["body"], "ok");
    // The router's FIN crosses loopback at once; the bound only keeps a broken build from hanging.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (connection.isUsable() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(connection.isUsable());
    EXPECT_EQ(exchange(connection)["body"], "GET");
    EXPECT_EQ(router.connectionCount(), 2u);

    const ScriptedReply hangUp{200, {}, {}, true, std::string()};
    router.queueReply(hangUp);
    EXPECT_EQ(exchange(connection)["body"], "GET");
    EXPECT_EQ(router.connectionCount(), 3u);
    EXPECT_EQ(router.requestCount(), 4u);

    router.queueReply(hangUp);
    EXPECT_EQ(exchange(connection, {HttpClient::POST})["result"], "failure");
    EXPECT_EQ(router.requestCount(), 5u);
    EXPECT_EQ(router.requests().at(4).header("Content-Length"), "0") << "a POST without a body";

    EXPECT_EQ(exchange(connection)["body"], "GET");
    router.queueReply({200, {}, {}, true, std::string("HTTP/1.1 200 OK\r\n")});
    EXPECT_EQ(exchange(connection)["result"], "failure") << "the answer had begun: not sent again";
    EXPECT_EQ(router.requestCount(), 7u);

    // Larger than the router takes: it hangs up after the head, with megabytes still to send.
    Request tooLarge{HttpClient::POST};
    tooLarge.body.assign(16u << 20, 'x');
    EXPECT_EQ(exchange(connection, tooLarge)["result"], "failure");
    EXPECT_TRUE(log.contains("HTTP exchange with fritz.box:80 failed: cannot send the request"));
    EXPECT_EQ(router.connectionCount(), 5u) << "a POST the router cut off is not sent again";
}

// A host or a caller's header that would end a line of the head early, or a header without a name,
// fails the request before a byte is sent, also when a mapping makes such a host reachable. The
// answer, or the rest of its body, read on another connection than its request's fails and is left
// for the right one.
TEST_F(HttpClientTest, CallerMistakesFailWithoutHarm) {
    router.mapAs("fritz.box\r\nX-Injected: 1", "80");
    const std::pair<std::string, HttpClient::HeaderMap> rows[] = {{"fritz.box\r\nX-Injected: 1", {}},
                                                                  {"fritz.box", {{"", "x"}}},
                                                                  {"fritz.box", {{"X\r\nY", "1"}}},
                                                                  {"fritz.box", {{"X", "1\nY: 2"}}}};
    SecureConnection connection(context, "fritz.box", "80", 5, 5, true);
    for (const auto& [host, headers] : rows) {
        HttpClient client;
        client.setDestinationHost(host, "80");
        EXPECT_EQ(client.sendRequest(&connection, HttpClient::GET, 0, headers, "/", nullptr, 0, "", "", 1, 0),
                  HttpClient::FAILURE)
            << host << " " << (headers.empty() ? "" : headers.begin()->first);
    }
    HttpClient noConnection;
    EXPECT_EQ(noConnection.sendRequest(nullptr, HttpClient::GET, 0, {}, "/", nullptr, 0, "", "", 1, 0),
              HttpClient::FAILURE);
    EXPECT_EQ(router.requestCount(), 0u);

    SecureConnection other(context, "fritz.box", "80", 5, 5, true);
    HttpClient client;
    ASSERT_EQ(client.sendRequest(&connection, HttpClient::GET, 0, {}, "/", nullptr, 0, "", "", 1, 0),
              HttpClient::SUCCESS);
    std::string body;
    HttpClient::eStatusCode status;
    int length;
    HttpClient::HeaderMap headers;
    EXPECT_EQ(client.readResponse(&other, body, 100, status, length, headers), HttpClient::FAILURE);
    EXPECT_EQ(client.readResponse(&connection, body, 0, status, length, headers), HttpClient::MORE_DATA);
    EXPECT_EQ(body, "") << "a read of at most 0 bytes takes none";
    EXPECT_EQ(client.readMoreData(&connection, body, 1), HttpClient::MORE_DATA);
    EXPECT_EQ(client.readMoreData(&other, body, 100), HttpClient::FAILURE);
    EXPECT_EQ(client.readMoreData(&connection, body, 100), HttpClient::SUCCESS);
    EXPECT_EQ(body, "GET");
    EXPECT_EQ(client.readMoreData(&connection, body, 100), HttpClient::SUCCESS) << "complete already";
    EXPECT_EQ(client.readMoreData(&other, body, 100), HttpClient::FAILURE);
}

// Each row: a request as the caller makes it and its head as the router receives it (request line,
// then every header field): the method's name, an IPv6 literal in brackets, a caller's own Host
// instead of the client's and no caller framing field, Content-Length with every PUT (ports and
// bodies: EveryRequestReachesTheHostItNames).
TEST_F(HttpClientTest, RequestHeadsAsSent) {
    router.mapAs("::1", "80");
    const struct {
        Request request;
        std::string head;
    } rows[] = {
        {{HttpClient::PUT, "/p", "fritz.box", "80"}, "PUT /p|Host: fritz.box|Content-Length: 0|Connection: keep-alive"},
        {{HttpClient::DELETE, "/d"}, "DELETE /d|Host: fritz.box|Connection: keep-alive"},
        {{HttpClient::HEAD, "/h", "::1"}, "HEAD /h|Host: [::1]|Connection: keep-alive"},
        {{HttpClient::GET,
          "/g",
          "fritz.box",
          "80",
          {},
          {},
          {},
          true,
          0,
          {{"Host", "caller.test"}, {"connection", "upgrade"}, {"X-Kept", "1"}}},
         "GET /g|Host: caller.test|X-Kept: 1|Connection: keep-alive"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.head);
        SecureConnection connection(context, row.request.host, row.request.port, 5, 5, true);
        EXPECT_EQ(exchange(connection, row.request)["result"], "complete");
        const ReceivedRequest sent = router.requests().back();
        std::string head = sent.method + " " + sent.target;
        for (const auto& [name, value] : sent.headers) {
            head += "|" + name + ": " + value;
        }
        EXPECT_EQ(head, row.head);
    }
}

// A redirect to another host reaches that host, and the next request to the router goes back to
// it, whichever of the two the connection was first opened to. The request there names its port,
// sends a body, credentials and the caller's headers (framing ones the client's own) and asks to
// close the connection.
TEST_F(HttpClientTest, EveryRequestReachesTheHostItNames) {
    ScriptedRouter other([](const ReceivedRequest&) { return ScriptedReply{200, {}, "other"}; });
    other.mapAs("other.test", "8080");
    Request toOther{HttpClient::POST, "/login.lua", "other.test", "8080", "a=1", "user", "pass", false};
    toOther.headers = {{"Content-Length", "99"}, {"Transfer-Encoding", "chunked"}, {"X-Caller", "kept"}};
    for (const Request& first : {Request{}, toOther}) {
        SecureConnection connection(context, first.host, first.port, 5, 5, true);
        EXPECT_EQ(exchange(connection)["body"], "GET");
        EXPECT_EQ(exchange(connection, toOther)["body"], "other");
        EXPECT_FALSE(connection.isUsable()) << "the request asked to close the connection";
        EXPECT_EQ(exchange(connection)["body"], "GET");
        EXPECT_EQ(exchange(connection, {HttpClient::GET, "/path", "fritz.box", "80", "q"})["body"], "GET");
    }
    // Content-Length goes with a body, and with every POST or PUT.
    EXPECT_EQ(router.requests().at(0).header("Content-Length") + "|" + router.requests().at(2).header("Content-Length"),
              "|1");
    const ReceivedRequest sent = other.requests().at(0);
    std::string head = sent.method + " " + sent.body;
    for (const auto& [name, value] : sent.headers) {
        head += "|" + name + ": " + value;
    }
    EXPECT_EQ(head,
              "POST a=1|Host: other.test:8080|X-Caller: kept|Content-Length: 3|Connection: close|"
              "Authorization: Basic dXNlcjpwYXNz");
    EXPECT_EQ(router.requestCount(), 6u);
    // Kept alive between the two requests to the router that follow each other.
    EXPECT_EQ(router.connectionCount(), 4u);
    EXPECT_EQ(linux_platform::transportStats().connectionsOpened, 7u);
    EXPECT_EQ(linux_platform::transportStats().requestsSent, 8u);
}

}  // namespace
