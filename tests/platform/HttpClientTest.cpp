// The platform's transport and HTTP client against ScriptedRouter over real loopback TCP.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <chrono>
#include <memory>
#include <thread>

#include "HttpClient.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ScriptedRouter.h"
#include "SecureTransport.h"

namespace {

using testsupport::ReceivedRequest;
using testsupport::ScriptedReply;
using testsupport::ScriptedRouter;
using Framing = ScriptedReply::Framing;

constexpr int kPiece = 204800;

struct Response {
    HttpClientIfc::eStatusCode status = HttpClientIfc::eStatusNone;
    int totalLength = 0;
    HttpClientIfc::HeaderMap headers;
    std::string body;
    std::vector<int> results;  // of readResponse and each readMoreData
    std::vector<std::size_t> pieceSizes;
    std::string redirectHost;
    int result() const { return results.empty() ? HttpClientIfc::FAILURE : results.back(); }
};

ScriptedReply replyWithBody(std::string body, Framing framing = Framing::ContentLength) {
    ScriptedReply reply;
    reply.body = std::move(body);
    reply.framing = framing;
    return reply;
}

ScriptedReply rawReply(std::string raw) {
    ScriptedReply reply;
    reply.raw = std::move(raw);
    return reply;
}

// Bytes that differ from position to position, so that reordering or loss shows.
std::string patternedBody(std::size_t size) {
    std::string body(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        body[i] = static_cast<char>('a' + (i * 7 + i / 251) % 26);
    }
    return body;
}

class HttpClientTest : public ::testing::Test {
protected:
    void SetUp() override {
        linux_platform::resetTransportStats();
        router.mapAs("fritz.box", "80");
    }
    void TearDown() override { linux_platform::clearHostMappings(); }

    std::unique_ptr<SecureConnection> connect(unsigned ioTimeoutSeconds = 5) {
        return std::make_unique<SecureConnection>(context, "fritz.box", "80", 5, ioTimeoutSeconds, true);
    }

    // One GET on `connection`, its body read in pieces of `pieceSize` until it ends or fails.
    static Response exchange(SecureConnection& connection, HttpClientIfc::HTTPMETHOD method = HttpClientIfc::GET) {
        HttpClient client;
        client.setDestinationHost("fritz.box", "80");
        Response response;
        if (client.sendRequest(&connection, method, 0, {}, "/path", nullptr, 0, "", "", 1, 0) != HttpClient::SUCCESS) {
            return response;
        }
        std::string piece;
        int result =
            client.readResponse(&connection, piece, kPiece, response.status, response.totalLength, response.headers);
        for (;;) {
            response.results.push_back(result);
            response.pieceSizes.push_back(piece.size());
            response.body += piece;
            if (result != HttpClient::MORE_DATA) {
                break;
            }
            piece.clear();
            result = client.readMoreData(&connection, piece, kPiece);
        }
        response.redirectHost = client.getRedirectHost();
        return response;
    }

    ScriptedRouter router;
    SecureTransportContext context{SecurityCertificate(),
                                   SecurityKey("", ""),
                                   SecurityCertificate(),
                                   SecureTransportContextIfc::eTLSv1_2,
                                   nullptr,
                                   nullptr,
                                   ""};
};

TEST_F(HttpClientTest, KeepsOneConnectionForSeveralExchanges) {
    router.setHandler([](const ReceivedRequest& request) { return replyWithBody("answer to " + request.target); });
    const auto connection = connect();
    for (int i = 0; i < 3; ++i) {
        const Response response = exchange(*connection);
        EXPECT_EQ(response.result(), HttpClient::SUCCESS);
        EXPECT_EQ(response.status, HttpClient::eStatusOk);
        EXPECT_EQ(response.body, "answer to /path");
        EXPECT_TRUE(connection->isUsable());
    }
    EXPECT_EQ(router.connectionCount(), 1u);
    EXPECT_EQ(linux_platform::transportStats().connectionsOpened, 1u);
    EXPECT_EQ(linux_platform::transportStats().requestsSent, 3u);
    EXPECT_EQ(router.requests()[2].header("Host"), "fritz.box");
    EXPECT_EQ(router.requests()[2].header("Connection"), "keep-alive");
}

TEST_F(HttpClientTest, SendsMethodBodyCredentialsAndHostPort) {
    const auto connection = connect();
    HttpClient client;
    client.setDestinationHost("fritz.box", "8080");
    const std::string body = "a=1&b=2";
    ASSERT_EQ(client.sendRequest(connection.get(), HttpClient::POST, 0, {{"X-Probe", "yes"}}, "/login.lua", body.data(),
                                 body.size(), "user", "pass", 0, 0),
              HttpClient::SUCCESS);
    std::string data;
    HttpClient::eStatusCode status;
    int total = 0;
    HttpClient::HeaderMap headers;
    EXPECT_EQ(client.readResponse(connection.get(), data, kPiece, status, total, headers), HttpClient::SUCCESS);
    EXPECT_EQ(status, HttpClient::eStatusNotFound);
    EXPECT_FALSE(connection->isUsable()) << "the request asked to close the connection";

    const ReceivedRequest request = router.requests().at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/login.lua");
    EXPECT_EQ(request.body, body);
    EXPECT_EQ(request.header("Host"), "fritz.box:8080");
    EXPECT_EQ(request.header("Authorization"), "Basic dXNlcjpwYXNz");
    EXPECT_EQ(request.header("X-Probe"), "yes");
    EXPECT_EQ(request.header("Connection"), "close");
}

class BodyFramingTest : public HttpClientTest, public ::testing::WithParamInterface<Framing> {};

TEST_P(BodyFramingTest, LargeBodyArrivesInBoundedPiecesInOrder) {
    const std::string body = patternedBody(500 * 1024);
    ScriptedReply reply = replyWithBody(body, GetParam());
    reply.chunkSize = 7000;  // chunk borders fall inside the pieces
    router.queueReply(reply);
    const auto connection = connect();
    const Response response = exchange(*connection);
    using Results = std::vector<int>;
    EXPECT_EQ(response.results, (Results{HttpClient::MORE_DATA, HttpClient::MORE_DATA, HttpClient::SUCCESS}));
    EXPECT_EQ(response.pieceSizes, (std::vector<std::size_t>{204800, 204800, 102400}));
    EXPECT_TRUE(response.body == body);
    EXPECT_EQ(response.totalLength, GetParam() == Framing::ContentLength ? 512000 : -1);
    EXPECT_EQ(connection->isUsable(), GetParam() != Framing::UntilClose);
}

INSTANTIATE_TEST_SUITE_P(Framings, BodyFramingTest,
                         ::testing::Values(Framing::ContentLength, Framing::Chunked, Framing::UntilClose));

// Each reply carries no body whatever its headers say; the next exchange on the same connection
// only works when the client did not wait for or swallow one.
TEST_F(HttpClientTest, ResponsesWithoutBodyLeaveTheConnectionInStep) {
    ScriptedReply headReply = replyWithBody(std::string(100, 'x'));
    const struct {
        HttpClientIfc::HTTPMETHOD method;
        ScriptedReply reply;
        HttpClientIfc::eStatusCode status;
    } cases[] = {
        {HttpClient::HEAD, headReply, HttpClient::eStatusOk},
        {HttpClient::GET, rawReply("HTTP/1.1 204 No Content\r\n\r\n"), HttpClient::eStatusNoContent},
        {HttpClient::GET, rawReply("HTTP/1.1 304 Not Modified\r\nContent-Length: 100\r\n\r\n"),
         HttpClient::eStatusNotModified},
        {HttpClient::GET, rawReply("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 204 No Content\r\n\r\n"),
         HttpClient::eStatusNoContent},
    };
    const auto connection = connect(2);
    for (const auto& c : cases) {
        router.queueReply(c.reply);
        router.queueReply(replyWithBody("next"));
        const Response response = exchange(*connection, c.method);
        EXPECT_EQ(response.result(), HttpClient::SUCCESS);
        EXPECT_EQ(response.status, c.status);
        EXPECT_EQ(response.body, "");
        EXPECT_EQ(exchange(*connection).body, "next");
    }
    EXPECT_EQ(router.connectionCount(), 1u);
}

TEST_F(HttpClientTest, RedirectHostComesFromAbsoluteLocationsOnly) {
    const struct {
        std::string location, host;
    } cases[] = {{"http://fritz.box:8080/login.lua", "fritz.box"},
                 {"http://192.168.178.1/", "192.168.178.1"},
                 {"https://[fd00::1]:443/x", "fd00::1"},
                 {"/relative/path", ""},
                 {"", ""}};
    const auto connection = connect();
    for (const auto& c : cases) {
        ScriptedReply reply;
        reply.status = 302;
        if (!c.location.empty()) {
            reply.headers = {{"Location", c.location}};
        }
        router.queueReply(reply);
        const Response response = exchange(*connection);
        EXPECT_EQ(response.status, HttpClient::eStatusFound);
        EXPECT_EQ(response.redirectHost, c.host) << c.location;
    }
}

std::string connectError(SecureTransportContext& context, const std::string& host, bool plainText = true) {
    try {
        SecureConnection connection(context, host, "80", 2, 2, plainText);
    } catch (const SecureTransportException& error) {
        return error.what();
    }
    return "no exception";
}

TEST_F(HttpClientTest, ConnectFailuresThrowReadableErrors) {
    int closedPort = 0;
    {
        ScriptedRouter gone;
        closedPort = gone.port();
    }
    linux_platform::mapHost("closed.box", "80", "127.0.0.1", std::to_string(closedPort));
    const std::string refused = connectError(context, "closed.box");
    EXPECT_NE(refused.find("closed.box:80 (127.0.0.1:" + std::to_string(closedPort) + "): Connection refused"),
              std::string::npos)
        << refused;
    EXPECT_NE(connectError(context, "no-such-host.invalid").find("cannot resolve host 'no-such-host.invalid'"),
              std::string::npos);
    EXPECT_NE(connectError(context, "fritz.box", false).find("TLS is not available"), std::string::npos);
    EXPECT_EQ(linux_platform::transportStats().connectionsOpened, 0u);
}

TEST_F(HttpClientTest, HostMappingTextIsParsedAndNamesCompareWithoutCase) {
    const struct {
        std::string text, address, port;
    } valid[] = {{"Router.Example:80:127.0.0.2:8080", "127.0.0.2", "8080"},
                 {"router.example:80:[::1]:8081", "::1", "8081"}};
    for (const auto& v : valid) {
        std::string error;
        ASSERT_TRUE(linux_platform::mapHostFromText(v.text, error)) << error;
        std::string address;
        std::string port;
        linux_platform::resolveMappedHost("ROUTER.example", "80", address, port);
        EXPECT_EQ(address, v.address);
        EXPECT_EQ(port, v.port);
    }
    for (const std::string text : {"router:80:127.0.0.1", "router:x:127.0.0.1:80", "router:80:[::1:80", ":80:a:80"}) {
        std::string error;
        EXPECT_FALSE(linux_platform::mapHostFromText(text, error)) << text;
        EXPECT_FALSE(error.empty());
    }
}

TEST_F(HttpClientTest, ConnectionEndsWhenTheRouterEndsIt) {
    ScriptedReply closing = replyWithBody("bye");
    closing.closeAfter = true;
    for (const ScriptedReply& reply : {closing, rawReply("HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nbye")}) {
        router.queueReply(reply);
        const auto connection = connect();
        const Response response = exchange(*connection);
        EXPECT_EQ(response.result(), HttpClient::SUCCESS);
        EXPECT_EQ(response.body, "bye");
        EXPECT_FALSE(connection->isUsable());
    }
}

TEST_F(HttpClientTest, IdleConnectionDroppedByTheRouterBecomesUnusable) {
    const auto connection = connect();
    EXPECT_EQ(exchange(*connection).result(), HttpClient::SUCCESS);
    ASSERT_TRUE(connection->isUsable());
    router.closeIdleConnections();
    // The router's FIN crosses loopback at once; the bound only keeps a broken build from hanging.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (connection->isUsable() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(connection->isUsable());
    EXPECT_EQ(exchange(*connection).result(), HttpClient::FAILURE);
}

TEST_F(HttpClientTest, AbandonedBodyMakesTheConnectionUnusable) {
    router.queueReply(replyWithBody(patternedBody(500 * 1024)));
    const auto connection = connect();
    {
        HttpClient client;
        ASSERT_EQ(client.sendRequest(connection.get(), HttpClient::GET, 0, {}, "/", nullptr, 0, "", "", 1, 0),
                  HttpClient::SUCCESS);
        std::string data;
        HttpClient::eStatusCode status;
        int total = 0;
        HttpClient::HeaderMap headers;
        ASSERT_EQ(client.readResponse(connection.get(), data, 1000, status, total, headers), HttpClient::MORE_DATA);
        EXPECT_TRUE(connection->isUsable()) << "usable while its owner still reads the body";
    }
    EXPECT_FALSE(connection->isUsable());
}

struct BrokenReply {
    const char* name;
    ScriptedReply reply;
};

std::vector<BrokenReply> brokenReplies() {
    ScriptedReply declaredTooLarge = replyWithBody("x");
    declaredTooLarge.headers = {{"Content-Length", std::to_string(linux_platform::kMaxResponseBodyBytes + 1)}};
    ScriptedReply chunkedTooLarge = replyWithBody(std::string(17 * 1024 * 1024, 'x'), Framing::Chunked);
    chunkedTooLarge.chunkSize = 1024 * 1024;
    ScriptedReply truncated = replyWithBody(std::string(1000, 'x'));
    truncated.truncateBodyAt = 500;
    ScriptedReply truncatedChunks = replyWithBody(std::string(1000, 'x'), Framing::Chunked);
    truncatedChunks.chunkSize = 300;
    truncatedChunks.truncateBodyAt = 500;
    ScriptedReply silent = replyWithBody("late");
    silent.delayMs = 3000;  // beyond the 1 s I/O time-out
    ScriptedReply hangUp;
    hangUp.noAnswer = true;
    return {{"DeclaredBodyOver16MiB", declaredTooLarge},
            {"ChunkedBodyOver16MiB", chunkedTooLarge},
            {"TruncatedBody", truncated},
            {"TruncatedChunkedBody", truncatedChunks},
            {"SilentRouter", silent},
            {"HangUpWithoutAnswer", hangUp},
            {"MalformedStatusLine", rawReply("HTTP/1.1 2OO OK\r\nContent-Length: 0\r\n\r\n")},
            {"NotHttp", rawReply("hello\r\n\r\n")},
            {"MalformedHeader", rawReply("HTTP/1.1 200 OK\r\nno colon\r\n\r\n")},
            {"ConflictingLengths", rawReply("HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Length: 3\r\n\r\nabc")},
            {"BadChunkSize", rawReply("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n")}};
}

class BrokenReplyTest : public HttpClientTest, public ::testing::WithParamInterface<BrokenReply> {};

TEST_P(BrokenReplyTest, FailsCleanlyAndRetiresTheConnection) {
    testsupport::LogCapture quiet;
    router.queueReply(GetParam().reply);
    const auto connection = connect(1);
    const Response response = exchange(*connection);
    EXPECT_EQ(response.result(), HttpClient::FAILURE);
    EXPECT_LE(response.body.size(), linux_platform::kMaxResponseBodyBytes);
    EXPECT_FALSE(connection->isUsable());
    EXPECT_TRUE(quiet.contains("failed")) << quiet.text();
}

INSTANTIATE_TEST_SUITE_P(Replies, BrokenReplyTest, ::testing::ValuesIn(brokenReplies()),
                         [](const ::testing::TestParamInfo<BrokenReply>& info) { return info.param.name; });

}  // namespace
