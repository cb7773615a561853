// The module against a router whose data is hostile: picture locations that try to leave the
// picture directory or split the photo request, control characters and invalid UTF-8 in names
// and numbers, and exports of megabytes of tiny records.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>

#include "HostileSupport.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleFixture.h"

using namespace testsupport;
using namespace hostile;
using linux_platform::PhoneModel;

namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string contact(const std::string& name, const std::string& number, const std::string& imageUrl = "") {
    const std::string image = imageUrl.empty() ? "" : "<imageURL>" + imageUrl + "</imageURL>";
    return "<contact><person><realName>" + name + "</realName>" + image +
           "</person><telephony><number type=\"home\" id=\"0\">" + number + "</number></telephony></contact>";
}

std::string exportOf(const std::string& contacts) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><phonebooks><phonebook name=\"Telefonbuch\">" + contacts +
           "</phonebook></phonebooks>";
}

std::set<std::string> pictureFiles() {
    std::set<std::string> names;
    DIR* directory = ::opendir(kPictureDirectory.c_str());
    while (const dirent* entry = directory != nullptr ? ::readdir(directory) : nullptr) {
        if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..") {
            names.insert(entry->d_name);
        }
    }
    if (directory != nullptr) {
        ::closedir(directory);
    }
    return names;
}

bool exists(const std::string& path) {
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0;
}

class ContentTest : public ::testing::Test {
protected:
    void SetUp() override {
        linux_platform::setPhoneModel(PhoneModel::Tern);
        router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
            if (request.target.rfind("/lua/photo.lua?", 0) != 0) {
                return false;
            }
            reply.body = "picture bytes";
            return true;
        };
    }
    void TearDown() override {
        linux_platform::setPhoneModel(PhoneModel::Other);
        linux_platform::clearHostMappings();
    }

    bool syncPersonal() {
        std::string token;
        return finishes([&] { return box.sync(kPersonal, token); });
    }

    testsupport::LogCapture log{6};
    TestRouter router;
    FritzBox box{"admin", "geheim"};
    FritzBoxTestAccess access{box};
};

// Only the text after the last "/" names the local file. Encoded or backslashed traversal is a
// plain file name here; "." and ".." name the directory itself and a 304-byte name is too long,
// so neither can be opened as a file, and each such contact is listed without its picture. A
// blank or a line break in a location is percent-encoded on the wire, so the picture arrives and
// no header can be smuggled into the request.
TEST_F(ContentTest, PictureLocationsCannotLeaveTheDirectory) {
    router.phonebookExport =
        exportOf(contact("Dots", "01", "file:///var/media/ftp/FRITZ/fonpix/../../../../../tmp/hostile-escape.jpg") +
                 contact("Encoded", "02", "file:///var/media/%2e%2e%2f%2e%2e%2ftmp%2fencoded.jpg") +
                 contact("Backslash", "03", "..\\..\\..\\tmp\\backslash.jpg") +
                 contact("Twice", "04", "file://file:///etc/../hostname") + contact("Parent", "05", "/var/media/..") +
                 contact("Self", "06", "/var/media/.") + contact("Space", "07", "/var/media/two words.jpg") +
                 contact("Injected", "08", "/p/a.jpg\r\nX-Injected: 1") +
                 contact("Long", "09", "/p/" + std::string(300, 'n') + ".jpg"));
    ASSERT_TRUE(syncPersonal());

    EXPECT_EQ(pictureFiles(), (std::set<std::string>{"hostile-escape.jpg", "%2e%2e%2f%2e%2e%2ftmp%2fencoded.jpg",
                                                     "..\\..\\..\\tmp\\backslash.jpg", "hostname", "two words.jpg",
                                                     "a.jpg\r\nX-Injected: 1"}));
    EXPECT_FALSE(exists("/tmp/hostile-escape.jpg"));
    EXPECT_FALSE(exists("/data/images/hostile-escape.jpg"));
    EXPECT_EQ(access.phoneBookSize(), 9) << "a picture that fails never costs the contact";
    const std::string& entries = access.phonebookXml();
    EXPECT_NE(entries.find("<name>Dots@@@/data/images/fritzbox/hostile-escape.jpg</name>"), std::string::npos);
    EXPECT_NE(entries.find("<name>Space@@@/data/images/fritzbox/two words.jpg</name>"), std::string::npos);
    for (const char* plain : {"Parent", "Self", "Long"}) {
        EXPECT_NE(entries.find(std::string("<name>") + plain + "</name>"), std::string::npos) << plain;
    }
    EXPECT_TRUE(log.contains("retrieveContactImage() cannot open file[/data/images/fritzbox/..]"));
    EXPECT_TRUE(log.contains("retrieveContactImage() cannot open file[/data/images/fritzbox/.]"));
    for (const ReceivedRequest& request : router.requests()) {
        EXPECT_EQ(request.header("X-Injected"), "");
        EXPECT_EQ(request.target.find_first_of(" \r\n"), std::string::npos);
    }
}

// Names and numbers are copied byte for byte: control characters, invalid UTF-8 and a raw "&"
// reach the phone unchanged (the module escapes neither numbers nor directory names, so a raw
// "&" leaves the document not well-formed XML), but nothing can add or end an element, so the
// output stays one document with one entry per contact.
TEST_F(ContentTest, ControlCharactersAndInvalidUtf8StayInsideOneDocument) {
    linux_platform::setPhoneModel(PhoneModel::Other);
    const std::vector<std::pair<std::string, std::string>> contacts = {{"Tab\there", "030\t1"},
                                                                       {"Bell\x07 and \x1b[2J", "030\x01"},
                                                                       {"Bad \xc3\x28 \xff\xfe", "\xc0\xaf"},
                                                                       {"Rock & Roll", "0800&1"},
                                                                       {"Delete\x7f", "\x7f"},
                                                                       {"Line\r\nbreak", "030\r\n2"},
                                                                       {"]]> and \"quotes\"", "'1'"}};
    std::string exported;
    for (const auto& [name, number] : contacts) {
        exported += contact(name, number);
    }
    router.phonebookExport = exportOf(exported);
    ASSERT_TRUE(syncPersonal());

    const std::string document = box.getData(kPersonal);
    const std::string count = std::to_string(contacts.size());
    EXPECT_EQ(document.rfind(kDeclaration + "<Personal xmlns=\"http://schema.broadsoft.com/xsi\"><numberOfRecords>" +
                                 count + "</numberOfRecords>",
                             0),
              0u);
    EXPECT_EQ(document.substr(document.size() - 11), "</Personal>");
    EXPECT_EQ(occurrences(document, "<Personal"), 1u);
    EXPECT_EQ(occurrences(document, "<entry>"), contacts.size());
    EXPECT_EQ(occurrences(document, "</entry>"), contacts.size());
    for (const auto& [name, number] : contacts) {
        EXPECT_NE(document.find("<entry><name>" + name + "</name><number>" + number + "</number></entry>"),
                  std::string::npos);
    }
}

// The call list escapes the name but not the number; the entries are dropped at filing anyway,
// so the call-log document is the same empty one whatever the records hold.
TEST_F(ContentTest, ControlCharactersInTheCallListLeaveTheDocumentUnchanged) {
    router.callList =
        callListBody({"1;15.03.24 14:30;Tab\there & <b>;030<1>\x01;", "2;15.03.24 14:31;Bad \xff\xfe;\x1b;"});
    std::string token;
    ASSERT_TRUE(finishes([&] { return box.sync(kCallLogs, token); }));
    EXPECT_EQ(access.callLogIds().size(), 2u) << "both records were accepted";
    EXPECT_TRUE(log.contains("normalizedName='Tab\there &amp; &lt;b&gt;', normalizedNumber='030<1>\x01'"));
    EXPECT_EQ(box.getData(kCallLogs),
              kDeclaration +
                  "<CallLogs xmlns=\"http://schema.broadsoft.com/xsi\"><placed></placed><received></received>"
                  "<missed></missed></CallLogs>");
}

// An export near the platform's 16 MiB cap made of tiny records with markup between them, and
// one contact with a huge list of numbers: the cutting must not cost time in the square of the
// export's size, which for such an export is hours.
TEST_F(ContentTest, MegabytesOfTinyRecordsFinishPromptly) {
    linux_platform::setLogLevel(2);  // a skipped record writes a trace line, here a million of them
    std::string tiny;
    while (tiny.size() < 15 * 1024 * 1024) {
        tiny += "<contact></contact><br/>";
    }
    router.phonebookExport = exportOf(tiny + contact("Last", "0301"));
    ASSERT_TRUE(syncPersonal());
    EXPECT_EQ(access.phonebookXml(), "<entry><name>Last</name><number>0301</number></entry>");

    std::string numbers;
    while (numbers.size() < 15 * 1024 * 1024) {
        numbers += "<number id=\"1\">1</number><br/>";
    }
    router.phonebookExport = exportOf("<contact><realName>Many</realName><telephony>" + numbers +
                                      "<number id=\"0\">0302</number></telephony></contact>");
    ASSERT_TRUE(syncPersonal());
    EXPECT_EQ(access.phonebookXml(), "<entry><name>Many</name><number>0302</number></entry>");
}

}  // namespace
