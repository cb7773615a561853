// Phonebook import: the export fetch, contact conversion and contact pictures.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "Cryptographer.h"
#include "ModuleTest.h"
#include "Storage.h"

using namespace testsupport;
using linux_platform::PhoneModel;

namespace {

const auto kPersonal = Broadsoft::Filters::Personal;

std::string number(const std::string& value, const std::string& id = "0") {
    return "<number type=\"home\" prio=\"1\" id=\"" + id + "\">" + value + "</number>";
}

std::string contact(const std::string& name, const std::string& numbers, const std::string& extra = "") {
    return "<contact><category>0</category><person><realName>" + name + "</realName>" + extra +
           "</person><telephony nid=\"1\">" + numbers + "</telephony><uniqueid>1</uniqueid></contact>";
}

std::string entry(const std::string& name, const std::string& number = "0301") {
    return "<entry><name>" + name + "</name><number>" + number + "</number></entry>";
}

class PhonebookTest : public ModuleTest {
protected:
    // Converts one contact record as the export walk hands it out, with a clean log, and returns
    // the entry it gave.
    std::string convert(const std::string& record) {
        log.clear();
        access.forgetConversions();
        access.handlePhonebookRecord(record.substr(8, record.size() - 18));  // without "<contact" and "</contact>"
        return access.phonebookXml();
    }
    std::string convertPicture(const std::string& location) {
        return convert(contact("C", number("0301"), "<imageURL>" + location + "</imageURL>"));
    }
};

TEST_F(PhonebookTest, FetchWithChangeToken) {
    router.phonebookExport = "<phonebook>" + contact("Anna", number("0301")) + contact("Bert", number("0302")) +
                             "<contact><realName>Cleo</realName>";
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(token, Cryptographer().md5(router.phonebookExport));
    const std::string counts = "<numberOfRecords>2</numberOfRecords><totalAvailableRecords>2</totalAvailableRecords>";
    EXPECT_NE(box.getData(kPersonal).find(counts + entry("Anna") + entry("Bert", "0302") + "</Personal>"),
              std::string::npos);

    EXPECT_FALSE(box.sync(kPersonal, token)) << "unchanged export";
    EXPECT_EQ(access.phoneBookSize(), 0);
    EXPECT_EQ(access.phonebookXml(), "");

    router.phonebookExport = "<html>login page</html>";  // no contacts at all: still a changed export
    EXPECT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phoneBookSize(), 0);
}

// Names and numbers are copied byte for byte, but nothing in them can add or end an element.
// A skipped contact gives no entry and this level-6 line.
TEST_F(PhonebookTest, ContactConversion) {
    const std::string numbers = "<telephony>" + number("0301") + "</telephony>";
    const std::pair<std::string, std::string> rows[] = {
        {contact("Anna", number("0170", "1") + number("0301") + number("0302")), entry("Anna")},
        {contact("Anna", number("0170", "1") + number("0171", "2")), "no valid number found[]"},
        {contact("Anna", number("anna@sip.example")), "no valid number found[anna@sip.example]"},
        {contact("M&amp;M &#228;rger", number("0301")), entry("M&amp;M &#228;rger")},
        {contact("Tab\there \x07\x1b[2J\x7f", number("030\t\x01")), entry("Tab\there \x07\x1b[2J\x7f", "030\t\x01")},
        {contact("Bad \xc3\x28 \xff & ]]>\"", number("\xc0\xaf&'1'")),
         entry("Bad \xc3\x28 \xff & ]]>\"", "\xc0\xaf&'1'")},
        {contact("Line\r\nbreak", number("030\r\n2")), entry("Line\r\nbreak", "030\r\n2")},
        {"<contact><realName lang=\"de\">Anna</realName>" + numbers + "</contact>", entry("Anna")},
        // The self-closed element runs on into the next one; the text after its "/>" is taken.
        {"<contact><realName>Alt</realName><telephony>\n<number type=\"fax_work\" />\n<number type=\"home\"\n "
         "id=\"0\">0301</number></telephony></contact>",
         entry("Alt", "\n")},
        {"<contact><person></person>" + numbers + "</contact>", "skip entry. name missing["},
        {"<contact><person><realName>Anna</realName></person></contact>",
         "skip entry. phone numbers missing[><person></person>]"},
    };
    for (const auto& [record, expected] : rows) {
        SCOPED_TRACE(record);
        const int before = access.phoneBookSize();
        const bool skipped = expected.rfind("<entry>", 0) != 0;
        EXPECT_EQ(convert(record), skipped ? "" : expected);
        EXPECT_EQ(access.phoneBookSize(), before + (skipped ? 0 : 1));
        EXPECT_TRUE(!skipped || log.contains("handleSinglePhonebookRecord() " + expected, 6)) << log.text();
    }
}

TEST_F(PhonebookTest, OnlyPictureModelsFetchPictures) {
    router.override = [](const ReceivedRequest&, ScriptedReply& reply) { return reply.body = "jpeg", true; };
    for (PhoneModel model : {PhoneModel::Other, PhoneModel::Tern, PhoneModel::Gull, PhoneModel::Wren}) {
        linux_platform::setPhoneModel(model);
        EXPECT_EQ(convertPicture("file:///var/media/ftp/FRITZ/fonpix/1.jpg"),
                  entry(model == PhoneModel::Other ? "C" : "C@@@/data/images/fritzbox/1.jpg"));
    }
    EXPECT_EQ(router.targets().back(), "/lua/photo.lua?photo=/var/media/ftp/FRITZ/fonpix/1.jpg&sid=");
    EXPECT_EQ(router.count("/lua/photo.lua"), 3u);
}

// Only the text after the last "/" names the local file, so no location leaves the directory.
// The router answers each photo with its request target, so a file shows which answer it holds.
TEST_F(PhonebookTest, PictureLocations) {
    linux_platform::setPhoneModel(PhoneModel::Wren);
    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        reply.status = request.target.find("missing") != std::string::npos ? 404 : 200;
        reply.body = request.target.find("empty") != std::string::npos ? "" : request.target;
        return true;
    };
    const std::pair<std::string, std::string> rows[] = {
        // location, the stored file's name (empty: the entry is kept without a picture)
        {"file:///a/same.jpg", "same.jpg"},
        {"file:///b/same.jpg", "same.jpg"},  // the later one wins
        {"../../../tmp/escape.jpg", "escape.jpg"},
        {"file:///var/media/ftp/../../../../../tmp/hostile-escape.jpg", "hostile-escape.jpg"},
        {"file:///var/media/%2e%2e%2f%2e%2e%2ftmp%2fencoded.jpg", "%2e%2e%2f%2e%2e%2ftmp%2fencoded.jpg"},
        {"..\\..\\..\\tmp\\backslash.jpg", "..\\..\\..\\tmp\\backslash.jpg"},
        {"file://file:///etc/../hostname", "hostname"},
        // encoded on the wire: the picture arrives and no header is smuggled into the request
        {"/var/media/two words.jpg", "two words.jpg"},
        {"/p/a.jpg\r\nX-Injected: 1", "a.jpg\r\nX-Injected: 1"},
        {"..", ""},
        {"/var/media/.", ""},
        {"", ""},
        {"/p/" + std::string(300, 'n') + ".jpg", ""},  // too long a name to open
        {"/p/missing.jpg", ""},
        {"/p/empty.jpg", ""},
    };
    std::set<std::string> stored, found;
    for (const auto& [location, name] : rows) {
        SCOPED_TRACE(location);
        EXPECT_EQ(convertPicture(location), entry(name.empty() ? "C" : "C@@@" + kPictureDirectory + name));
        if (!name.empty()) {
            std::ifstream file(kPictureDirectory + name, std::ios::binary);
            EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), router.requests().back().target);
            stored.insert(name);
        }
    }
    for (const auto& file : std::filesystem::directory_iterator(kPictureDirectory)) {
        found.insert(file.path().filename().string());
    }
    EXPECT_EQ(found, stored);
    for (const char* escape : {"/tmp/escape.jpg", "/tmp/hostile-escape.jpg", "/data/images/escape.jpg"}) {
        EXPECT_NE(::unlink(escape), 0) << "written outside the directory";
    }
    for (const ReceivedRequest& request : router.requests()) {
        EXPECT_EQ(request.header("X-Injected"), "");
        EXPECT_EQ(request.target.find_first_of(" \r\n"), std::string::npos);
    }
}

TEST(PictureDirectoryTest, CreatedWithTheObjectAndDeletedWithIt) {
    {
        FritzBox box("admin", "geheim");
        ASSERT_TRUE(Storage::fileExists_stat(kPictureDirectory));
        std::ofstream(kPictureDirectory + "left.jpg") << "x";
    }
    EXPECT_FALSE(Storage::fileExists_stat(kPictureDirectory));
}

}  // namespace
