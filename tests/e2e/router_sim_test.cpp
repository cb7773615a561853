// The router simulator over real loopback HTTP, with httplib::Client in the phone's place.
#include <gtest/gtest.h>
#include <httplib.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "RouterSimulator.h"

namespace {

using routersim::Faults;
using routersim::LoginForm;
using routersim::RouterData;
using routersim::RouterSimulator;
using routersim::SimulatorOptions;

const std::string kZeroSid = "0000000000000000";
const std::string kPhotoPath = "/var/media/ftp/FRITZ/fonpix/1.jpg";
// ISO-8859-1 bytes (0xFC is ü), as the router sends them.
const std::string kCallList =
    "sep=;\nTyp;Datum;Name;Rufnummer;Nebenstelle;Eigene Rufnummer;Dauer\n"
    "1;15.03.24 14:30;Anna M\xfcller;030123456;K\xfc"
    "che;9876543;0:05\n";
const std::string kPhonebook =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><phonebooks><phonebook name=\"Telefonbuch\"><contact>"
    "<person><realName>Anna M\xc3\xbcller</realName></person><telephony nid=\"1\">"
    "<number type=\"home\" prio=\"1\" id=\"0\">030123456</number></telephony></contact></phonebook></phonebooks>";
// A zero byte inside, so a text-only path through the server would show.
const std::string kPhoto = std::string("\xff\xd8\xff\xe0\x00\x10JFIF", 10) + "\xff\xd9";

RouterData testData() {
    return {kCallList, kPhonebook, {{kPhotoPath, kPhoto}}};
}

std::string tagValue(const std::string& xml, const std::string& tag) {
    const auto start = xml.find("<" + tag + ">");
    const auto end = xml.find("</" + tag + ">");
    return start == std::string::npos || end == std::string::npos
               ? ""
               : xml.substr(start + tag.size() + 2, end - start - tag.size() - 2);
}

bool isLowerHex(const std::string& text, std::size_t digits) {
    return text.size() == digits && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool isLoginPage(const httplib::Result& result) {
    return result && result->status == 200 && result->body.find("type=\"password\"") != std::string::npos;
}

class RouterSimTest : public ::testing::Test {
protected:
    void SetUp() override { startSimulator({}); }

    void startSimulator(const SimulatorOptions& options) {
        client.reset();  // first, so stopping the old simulator waits for no kept-alive connection
        simulator = std::make_unique<RouterSimulator>(testData(), options);
        port = simulator->start();
        client = std::make_unique<httplib::Client>("127.0.0.1", port);
        client->set_keep_alive(true);
        client->set_tcp_nodelay(true);
    }

    std::string challenge() { return tagValue(client->Get("/login_sid.lua")->body, "Challenge"); }

    // Answers the session-info XML of a login with the given response.
    std::string loginWith(const std::string& response) {
        return client->Get("/login_sid.lua?username=admin&response=" + response)->body;
    }
    std::string login(const std::string& password = "geheim", LoginForm form = LoginForm::Module) {
        return tagValue(loginWith(routersim::loginResponse(challenge(), password, form)), "SID");
    }

    httplib::Result callList(const std::string& sid) {
        return client->Get("/fon_num/foncalls_list.lua?csv=&sid=" + sid);
    }
    httplib::Result exportPhonebook(const std::string& sid) {
        const httplib::MultipartFormDataItems form = {{"sid", sid, "", ""},
                                                      {"PhonebookId", "0", "", ""},
                                                      {"PhonebookExportName", "Telefonbuch", "", ""},
                                                      {"PhonebookExport", "", "", ""}};
        return client->Post("/cgi-bin/firmwarecfg", {}, form, "----WebKitFormBoundaryPhone");
    }
    httplib::Result photo(const std::string& path, const std::string& sid) {
        return client->Get("/lua/photo.lua?photo=" + path + "&sid=" + sid);
    }

    std::unique_ptr<RouterSimulator> simulator;
    std::unique_ptr<httplib::Client> client;
    int port = 0;
};

TEST(LoginResponse, MatchesKnownAnswersOfBothForms) {
    // The router's form: the worked example of AVM's session-ID documentation.
    EXPECT_EQ(routersim::loginResponse("1234567z",
                                       "\xc3\xa4"
                                       "bc",
                                       LoginForm::Router),
              "1234567z-9e224a41eeefa284df7bb0f26c2913e2");
    // The module's form hashes the UTF-8 bytes of ä one by one.
    EXPECT_EQ(routersim::loginResponse("1234567z",
                                       "\xc3\xa4"
                                       "bc",
                                       LoginForm::Module),
              "bb6e5b7c7d4d485590f4e084ad3da989");
    // The router replaces characters above U+00FF (here €) by '.'.
    EXPECT_EQ(routersim::loginResponse("1234567z", "x\xe2\x82\xac", LoginForm::Router),
              routersim::loginResponse("1234567z", "x.", LoginForm::Router));
}

TEST_F(RouterSimTest, LoginInModuleFormOpensSessionWithRights) {
    const std::string fresh = challenge();
    EXPECT_TRUE(isLowerHex(fresh, 8));
    EXPECT_NE(challenge(), fresh);

    const std::string body = loginWith(routersim::loginResponse(challenge(), "geheim", LoginForm::Module));
    const std::string sid = tagValue(body, "SID");
    EXPECT_TRUE(isLowerHex(sid, 16));
    EXPECT_NE(sid, kZeroSid);
    EXPECT_NE(body.find("<Name>BoxAdmin</Name><Access>2</Access>"), std::string::npos);
    EXPECT_EQ(tagValue(client->Get("/login_sid.lua?sid=" + sid)->body, "SID"), sid);

    EXPECT_EQ(login("geheim", LoginForm::Router), kZeroSid);
    EXPECT_EQ(simulator->stats().logins, 1u);
    EXPECT_EQ(simulator->stats().failedLogins, 1u);
}

TEST_F(RouterSimTest, StrictLoginAcceptsOnlyTheRouterForm) {
    SimulatorOptions options;
    options.strictLogin = true;
    options.password = "gr\xc3\xbcn";  // the forms differ in more than the prefix for non-ASCII text
    startSimulator(options);
    EXPECT_EQ(login(options.password, LoginForm::Module), kZeroSid);
    EXPECT_NE(login(options.password, LoginForm::Router), kZeroSid);
}

TEST_F(RouterSimTest, FailedLoginsBlockForGrowingTimesEvenTheRightPassword) {
    for (const char* expectedBlock : {"0", "1", "2", "4", "8"}) {
        const std::string body = loginWith(routersim::loginResponse(challenge(), "falsch", LoginForm::Module));
        EXPECT_EQ(tagValue(body, "SID"), kZeroSid);
        EXPECT_EQ(tagValue(body, "BlockTime"), expectedBlock);
    }
    EXPECT_EQ(login(), kZeroSid);
    EXPECT_NE(tagValue(client->Get("/login_sid.lua")->body, "BlockTime"), "0");
    EXPECT_EQ(simulator->stats().logins, 0u);
}

TEST_F(RouterSimTest, SessionsEndByLogoutOrIdleTime) {
    const std::string sid = login();
    ASSERT_EQ(callList(sid)->body, kCallList);
    EXPECT_EQ(tagValue(client->Get("/login_sid.lua?logout=&sid=" + sid)->body, "SID"), kZeroSid);
    EXPECT_TRUE(isLoginPage(callList(sid)));

    SimulatorOptions options;
    options.sessionIdleSeconds = 0;
    startSimulator(options);
    EXPECT_TRUE(isLoginPage(callList(login())));
}

TEST_F(RouterSimTest, DataPagesAnswerTheLoginPageForUnknownSessions) {
    EXPECT_TRUE(isLoginPage(callList("0123456789abcdef")));
    EXPECT_TRUE(isLoginPage(photo(kPhotoPath, "0123456789abcdef")));
    EXPECT_TRUE(isLoginPage(exportPhonebook(kZeroSid)));
    EXPECT_EQ(simulator->stats().callListFetches, 0u);
}

TEST_F(RouterSimTest, ServesCallListExportAndPhotosByteExact) {
    const std::string sid = login();
    const auto csv = callList(sid);
    EXPECT_EQ(csv->body, kCallList);
    EXPECT_NE(csv->get_header_value("Content-Type").find("ISO-8859-1"), std::string::npos);

    simulator->setCallList("sep=;\r\nTyp;Datum\r\n");
    EXPECT_EQ(callList(sid)->body, "sep=;\r\nTyp;Datum\r\n");
    EXPECT_EQ(exportPhonebook(sid)->body, kPhonebook);

    const auto image = photo(kPhotoPath, sid);
    EXPECT_EQ(image->body, kPhoto);
    EXPECT_EQ(image->get_header_value("Content-Type"), "image/jpeg");
    EXPECT_EQ(photo("/var/media/ftp/FRITZ/fonpix/2.jpg", sid)->status, 404);

    const auto stats = simulator->stats();
    EXPECT_EQ(stats.callListFetches, 2u);
    EXPECT_EQ(stats.exportFetches, 1u);
    EXPECT_EQ(stats.photoFetches, 1u);
}

TEST_F(RouterSimTest, RedirectFaultSendsTheFirstRequestsElsewhere) {
    Faults faults;
    faults.redirectCount = 2;
    faults.redirectHost = "fritz.example:8080";
    simulator->setFaults(faults);
    for (int i = 0; i < 2; ++i) {
        const auto answer = client->Get("/login_sid.lua?sid=1");
        EXPECT_EQ(answer->status, 302);
        EXPECT_EQ(answer->get_header_value("Location"), "http://fritz.example:8080/login_sid.lua?sid=1");
    }
    EXPECT_EQ(client->Get("/login_sid.lua")->status, 200);

    faults.redirectCount = 1;
    faults.redirectHost.clear();
    simulator->setFaults(faults);
    EXPECT_EQ(client->Get("/")->get_header_value("Location"), "http://127.0.0.1:" + std::to_string(port) + "/");
}

TEST_F(RouterSimTest, DataFaultsChangeWhatDataPagesAnswer) {
    const std::string sid = login();
    Faults faults;
    faults.forceStatus = 500;
    simulator->setFaults(faults);
    EXPECT_EQ(callList(sid)->status, 500);
    EXPECT_EQ(exportPhonebook(sid)->status, 500);
    EXPECT_NE(login(), kZeroSid);

    faults = Faults{};
    faults.changeBodyEachFetch = true;
    faults.emptyPhotos = true;
    simulator->setFaults(faults);
    const std::string first = callList(sid)->body;
    EXPECT_EQ(first.compare(0, kCallList.size(), kCallList), 0);
    EXPECT_NE(callList(sid)->body, first);
    EXPECT_NE(exportPhonebook(sid)->body, exportPhonebook(sid)->body);
    const auto image = photo(kPhotoPath, sid);
    EXPECT_EQ(image->status, 200);
    EXPECT_TRUE(image->body.empty());

    faults = Faults{};
    faults.dropSessions = true;
    simulator->setFaults(faults);
    const std::string dropped = login();
    EXPECT_NE(dropped, kZeroSid);
    EXPECT_TRUE(isLoginPage(callList(dropped)));
}

TEST_F(RouterSimTest, CountsConnectionsAndLogsRequests) {
    client->Get("/login_sid.lua");
    client->Get("/login_sid.lua?sid=1");
    EXPECT_EQ(simulator->stats().connections, 1u);
    httplib::Client(std::string("127.0.0.1"), port).Get("/");
    EXPECT_EQ(simulator->stats().connections, 2u);
    EXPECT_EQ(simulator->stats().requests, 3u);
    EXPECT_EQ(simulator->requestLog(),
              (std::vector<std::string>{"GET /login_sid.lua", "GET /login_sid.lua?sid=1", "GET /"}));

    Faults faults;
    faults.closeConnections = true;
    simulator->setFaults(faults);
    simulator->resetStats();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client->Get("/login_sid.lua")->get_header_value("Connection"), "close");
    }
    // The first request comes on the open connection; each answer closes it, so the others open new ones.
    EXPECT_EQ(simulator->stats().connections, 2u);
}

TEST(RouterData, LoadsTheBundledSampleAndNamesWhatIsMissing) {
    const RouterData data = RouterData::loadFromDirectory(FRITZBOX_SAMPLE_DATA_DIR);
    EXPECT_EQ(data.callListCsv.rfind("sep=;\n", 0), 0u);
    EXPECT_NE(data.phonebookXml.find("<phonebooks>"), std::string::npos);
    ASSERT_FALSE(data.photos.empty());
    for (const auto& [path, bytes] : data.photos) {
        EXPECT_EQ(path.rfind(routersim::kPhotoDirectory, 0), 0u) << path;
        EXPECT_EQ(bytes.rfind("\xff\xd8", 0), 0u) << path;
    }
    try {
        RouterData::loadFromDirectory("/nonexistent-router-data");
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent-router-data/calllist.csv"), std::string::npos);
    }
}

}  // namespace
