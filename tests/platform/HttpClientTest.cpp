// The platform's transport and HTTP client against ScriptedRouter over real loopback TCP.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
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
    // Short limits, so that the silent and trickling routers below cost a fraction of a second.
    void SetUp() override {
        linux_platform::resetTransportStats();
        linux_platform::setTimeLimitOverrides({500, 300, 1000});
        router.mapAs("fritz.box", "80");
    }
    void TearDown() override {
        linux_platform::clearHostMappings();
        linux_platform::setTimeLimitOverrides({});
    }

    std::unique_ptr<SecureConnection> connect(const std::string& host = "fritz.box") {
        return std::make_unique<SecureConnection>(context, host, "80", 5, 5, true);
    }

    // One request on `connection`, its body read in pieces of kPiece bytes until it ends or fails.
    static Response exchange(SecureConnection& connection, HttpClientIfc::HTTPMETHOD method = HttpClientIfc::GET,
                             const std::string& host = "fritz.box", const std::string& target = "/path") {
        HttpClient client;
        client.setDestinationHost(host, "80");
        Response response;
        if (client.sendRequest(&connection, method, 0, {}, target.c_str(), nullptr, 0, "", "", 1, 0) !=
            HttpClient::SUCCESS) {
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
    router.mapAs("fritz.box", "8080");
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
    };
    const auto connection = connect();
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

// Run by with-silent-dns.sh, whose resolver asks only a socket that this test holds and never
// answers; glibc alone would wait 10 s and more.
TEST_F(HttpClientTest, SilentNameServerCostsOnlyTheConnectTimeOut) {
    if (std::getenv("FRITZBOX_SILENT_DNS") == nullptr) {
        GTEST_SKIP() << "needs the namespaces of with-silent-dns.sh";
    }
    const int nameServer = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(nameServer, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NE(connectError(context, "router.example").find("no answer from the name service in time"),
              std::string::npos);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    ::close(nameServer);
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

// A router that drops a kept connection while it is idle costs one new connection: noticed before
// sending, or, for a GET, after a request the router never answered. A POST is never sent twice.
TEST_F(HttpClientTest, KeptConnectionThatTheRouterClosedIsReplacedOnce) {
    router.setHandler([](const ReceivedRequest& request) { return replyWithBody("answer to " + request.method); });
    const auto connection = connect();
    EXPECT_EQ(exchange(*connection).result(), HttpClient::SUCCESS);
    router.closeIdleConnections();
    // The router's FIN crosses loopback at once; the bound only keeps a broken build from hanging.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (connection->isUsable() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_FALSE(connection->isUsable());
    EXPECT_EQ(exchange(*connection).body, "answer to GET");
    EXPECT_EQ(router.connectionCount(), 2u);

    ScriptedReply hangUp;
    hangUp.noAnswer = true;
    router.queueReply(hangUp);
    EXPECT_EQ(exchange(*connection).body, "answer to GET");
    EXPECT_EQ(router.connectionCount(), 3u);
    EXPECT_EQ(router.requestCount(), 4u);

    router.queueReply(hangUp);
    EXPECT_EQ(exchange(*connection, HttpClient::POST).result(), HttpClient::FAILURE);
    EXPECT_EQ(router.requestCount(), 5u);
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
    silent.delayMs = 3000;  // beyond the shortened I/O time-out
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
    const auto connection = connect();
    const Response response = exchange(*connection);
    EXPECT_EQ(response.result(), HttpClient::FAILURE);
    EXPECT_LE(response.body.size(), linux_platform::kMaxResponseBodyBytes);
    EXPECT_FALSE(connection->isUsable());
    EXPECT_TRUE(quiet.contains("failed")) << quiet.text();
}

INSTANTIATE_TEST_SUITE_P(Replies, BrokenReplyTest, ::testing::ValuesIn(brokenReplies()),
                         [](const ::testing::TestParamInfo<BrokenReply>& info) { return info.param.name; });

// A redirect to another host reaches that host, and the next request to the router goes back to
// it, whichever of the two the connection was first opened to.
TEST_F(HttpClientTest, EveryRequestReachesTheHostItNames) {
    ScriptedRouter other([](const ReceivedRequest&) { return replyWithBody("other"); });
    other.mapAs("other.test", "80");
    router.setHandler([](const ReceivedRequest&) { return replyWithBody("router"); });
    for (const char* first : {"fritz.box", "other.test"}) {
        const auto connection = connect(first);
        EXPECT_EQ(exchange(*connection).body, "router");
        EXPECT_EQ(exchange(*connection, HttpClient::GET, "other.test").body, "other");
        EXPECT_EQ(exchange(*connection).body, "router");
        EXPECT_EQ(exchange(*connection).body, "router");
    }
    EXPECT_EQ(router.requestCount(), 6u);
    EXPECT_EQ(other.requestCount(), 2u);
    EXPECT_EQ(other.requests()[0].header("Host"), "other.test");
    // Kept alive between the two requests to the router that follow each other.
    EXPECT_EQ(router.connectionCount(), 4u);
}

TEST_F(HttpClientTest, RequestTargetsAreEncodedOnTheWire) {
    const struct {
        std::string target, sent;
    } cases[] = {
        {"/lua/photo.lua?photo=/fonpix/Anna Maria.jpg&sid=1", "/lua/photo.lua?photo=/fonpix/Anna%20Maria.jpg&sid=1"},
        {"/a\"<>\\^`{|}", "/a%22%3C%3E%5C%5E%60%7B%7C%7D"},
        {"/\xC3\xA4\x7F\t\r\nX: y", "/%C3%A4%7F%09%0D%0AX:%20y"},
        {"/already%20encoded?a=b&c=/d", "/already%20encoded?a=b&c=/d"},
    };
    const auto connection = connect();
    for (const auto& c : cases) {
        EXPECT_EQ(exchange(*connection, HttpClient::GET, "fritz.box", c.target).status, HttpClient::eStatusNotFound);
        EXPECT_EQ(router.requests().back().target, c.sent);
    }
    EXPECT_EQ(router.connectionCount(), 1u);
}

// Each wait is short, but the answer as a whole takes longer than the exchange may.
TEST_F(HttpClientTest, TricklingAnswerEndsAtTheExchangeLimit) {
    testsupport::LogCapture log;
    ScriptedReply trickle = replyWithBody(std::string(100, 'x'));
    trickle.trickleMs = 50;
    router.queueReply(trickle);
    const auto connection = connect();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(exchange(*connection).result(), HttpClient::FAILURE);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_TRUE(log.contains("the exchange reached its limit of 1000 ms")) << log.text();
}

TEST_F(HttpClientTest, InterimAndAmbiguousFraming) {
    const struct {
        const char* name;
        std::string raw;
        int result;
        std::string body;
        bool usableAfter;
    } cases[] = {
        {"interim answers with headers, then the final one",
         "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n"
         "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok",
         HttpClient::SUCCESS, "ok", true},
        {"101 was never asked for", "HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\n", HttpClient::FAILURE, "",
         false},
        {"chunks win over a length, and the connection ends",
         "HTTP/1.1 200 OK\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nchunk\r\n0\r\n\r\n",
         HttpClient::SUCCESS, "chunk", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        testsupport::LogCapture quiet;
        router.queueReply(rawReply(c.raw));
        const auto connection = connect();
        const Response response = exchange(*connection);
        EXPECT_EQ(response.result(), c.result);
        EXPECT_EQ(response.body, c.body);
        EXPECT_EQ(connection->isUsable(), c.usableAfter);
    }
}

}  // namespace
