// The platform's transport and HTTP client against ScriptedRouter over real loopback TCP. The
// router's raw replies, with the outcome each must have, are the files in replies/ (see README).
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

ScriptedReply rawReply(std::string raw, bool closeAfter = false) {
    ScriptedReply reply;
    reply.raw = std::move(raw);
    reply.closeAfter = closeAfter;
    return reply;
}

class HttpClientTest : public ::testing::Test {
protected:
    // Short limits (connect, I/O, whole exchange), so that silent routers cost a fraction of a second.
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
        HttpClient::HeaderMap headers;
        int result = client.readResponse(&connection, piece, kPiece, response.status, response.totalLength, headers);
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

// ---- replies/*.http: header fields ("name: value", "#" comments), a line "--", then the bytes
// on the wire, one piece per line without its line break; \r \n \t \\ \xHH are escapes, a line
// "%repeat N TEXT" stands for TEXT N times and a last line "%close" hangs up after the bytes.

std::string decode(const std::string& text) {
    if (text.rfind("%repeat ", 0) == 0) {
        const std::size_t textStart = text.find(' ', 8) + 1;
        const std::string unit = decode(text.substr(textStart));
        std::string bytes;
        for (unsigned long n = std::stoul(text.substr(8)); n > 0; --n) {
            bytes += unit;
        }
        return bytes;
    }
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i] == '\\' ? text[++i] : '\0';
        if (c == 'x') {
            bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            bytes += c == '\0' ? text[i] : c == 'r' ? '\r' : c == 'n' ? '\n' : c == 't' ? '\t' : c;
        }
    }
    return bytes;
}

struct ReplyFile {
    std::string name;
    std::map<std::string, std::string> fields;
    std::vector<std::string> wire;  // lines after "--", decoded only when the row runs
    std::string field(const std::string& key) const { return fields.count(key) != 0 ? fields.at(key) : ""; }
};

std::vector<ReplyFile> replyFiles() {
    std::vector<ReplyFile> files;
    for (const auto& entry : std::filesystem::directory_iterator(FRITZBOX_REPLIES_DIR)) {
        files.push_back({entry.path().stem().string(), {}, {}});
        std::ifstream in(entry.path());
        std::string line;
        while (std::getline(in, line) && line != "--") {
            const std::size_t colon = line.find(':');
            const std::size_t value = std::min(line.find_first_not_of(' ', colon + 1), line.size());
            if (line[0] != '#' && colon != std::string::npos) {
                files.back().fields[line.substr(0, colon)] = line.substr(value);
            }
        }
        while (std::getline(in, line)) {
            files.back().wire.push_back(line);
        }
    }
    std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return files;
}

ScriptedReply replyOf(const ReplyFile& file) {
    ScriptedReply reply = rawReply("");
    for (const std::string& line : file.wire) {
        reply.closeAfter = line == "%close";
        *reply.raw += reply.closeAfter ? "" : decode(line);
    }
    reply.paceMs = std::atoi(file.field("pace-ms").c_str());
    return reply;
}

// The reasons of the platform's failure lines, so that a row sees its own failure and no other.
std::string failureReasons(const testsupport::LogCapture& log) {
    std::string reasons;
    for (const auto& record : log.records()) {
        const std::size_t at = record.message.find(" failed: ");
        reasons += at == std::string::npos ? "" : record.message.substr(at + 9);
    }
    return reasons;
}

class ReplyTest : public HttpClientTest, public ::testing::WithParamInterface<ReplyFile> {};

// Every field the file gives is compared; "log" always, so that no row fails unnoticed.
TEST_P(ReplyTest, EndsAsTheFileSays) {
    const ReplyFile& file = GetParam();
    router.queueReply(replyOf(file));
    router.setHandler([](const ReceivedRequest&) { return replyWithBody("next"); });
    testsupport::LogCapture log(4);
    const auto connection = connect();
    const std::string target = file.fields.count("target") != 0 ? decode(file.field("target")) : "/path";
    const Response response = exchange(
        *connection, file.field("request") == "HEAD" ? HttpClient::HEAD : HttpClient::GET, "fritz.box", target);
    std::map<std::string, std::string> seen = {
        {"result", response.result() == HttpClient::SUCCESS ? "complete" : "failure"},
        {"status", std::to_string(response.status)},
        {"body", response.body},
        {"redirect-host", response.redirectHost},
        {"usable", connection->isUsable() ? "yes" : "no"},
        {"sent", router.requests().empty() ? "" : router.requests()[0].target}};
    for (const auto& [key, expected] : file.fields) {
        const bool input = key == "log" || key == "request" || key == "target" || key == "pace-ms";
        ASSERT_TRUE(input || seen.count(key) != 0) << "unknown field " << key;
        EXPECT_TRUE(input || seen[key] == decode(expected))
            << key << ": " << seen[key].substr(0, 100) << " (" << seen[key].size() << " bytes)";
    }
    EXPECT_EQ(failureReasons(log), file.field("log"));
    if (file.field("usable") == "yes") {  // in step: the next answer on it is the next one sent
        EXPECT_EQ(exchange(*connection).body, "next");
        EXPECT_EQ(router.connectionCount(), 1u);
    }
}

INSTANTIATE_TEST_SUITE_P(Replies, ReplyTest, ::testing::ValuesIn(replyFiles()),
                         [](const ::testing::TestParamInfo<ReplyFile>& info) {
                             std::string name = info.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

// ---- behaviour beyond a single reply

class BodyFramingTest : public HttpClientTest, public ::testing::WithParamInterface<Framing> {};

// Bytes that differ from position to position, so that reordering or loss shows.
TEST_P(BodyFramingTest, LargeBodyArrivesInBoundedPiecesInOrder) {
    std::string body(500 * 1024, '\0');
    for (std::size_t i = 0; i < body.size(); ++i) {
        body[i] = static_cast<char>('a' + (i * 7 + i / 251) % 26);
    }
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

TEST_F(HttpClientTest, SendsMethodBodyCredentialsAndHostPort) {
    router.mapAs("fritz.box", "8080");
    const auto connection = connect();
    HttpClient client;
    client.setDestinationHost("fritz.box", "8080");
    ASSERT_EQ(
        client.sendRequest(connection.get(), HttpClient::POST, 0, {}, "/login.lua", "a=1", 3, "user", "pass", 0, 0),
        HttpClient::SUCCESS);
    std::string data;
    HttpClient::eStatusCode status;
    int total = 0;
    HttpClient::HeaderMap headers;
    EXPECT_EQ(client.readResponse(connection.get(), data, kPiece, status, total, headers), HttpClient::SUCCESS);
    EXPECT_FALSE(connection->isUsable()) << "the request asked to close the connection";
    const ReceivedRequest request = router.requests().at(0);
    EXPECT_EQ(request.method + " " + request.body, "POST a=1");
    EXPECT_EQ(request.header("Host"), "fritz.box:8080");
    EXPECT_EQ(request.header("Authorization"), "Basic dXNlcjpwYXNz");
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
        EXPECT_EQ(address + " " + port, v.address + " " + v.port);
    }
    for (const std::string text : {"router:80:127.0.0.1", "router:x:127.0.0.1:80", "router:80:[::1:80", ":80:a:80"}) {
        std::string error;
        EXPECT_FALSE(linux_platform::mapHostFromText(text, error)) << text;
        EXPECT_FALSE(error.empty());
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
    EXPECT_EQ(exchange(*connection).body, "answer to GET");
    EXPECT_EQ(router.connectionCount(), 2u);

    router.queueReply(rawReply("", true));
    EXPECT_EQ(exchange(*connection).body, "answer to GET");
    EXPECT_EQ(router.connectionCount(), 3u);
    EXPECT_EQ(router.requestCount(), 4u);

    router.queueReply(rawReply("", true));
    EXPECT_EQ(exchange(*connection, HttpClient::POST).result(), HttpClient::FAILURE);
    EXPECT_EQ(router.requestCount(), 5u);
}

TEST_F(HttpClientTest, AbandonedBodyMakesTheConnectionUnusable) {
    router.queueReply(replyWithBody(std::string(500 * 1024, 'x')));
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
    EXPECT_EQ(other.requests()[0].header("Host"), "other.test");
    // Kept alive between the two requests to the router that follow each other.
    EXPECT_EQ(router.connectionCount(), 4u);
    EXPECT_EQ(linux_platform::transportStats().connectionsOpened, 7u);
    EXPECT_EQ(linux_platform::transportStats().requestsSent, 8u);
}

}  // namespace
