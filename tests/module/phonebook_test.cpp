// Phonebook import: the export request, contact conversion and contact pictures.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "Cryptographer.h"
#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleTestSupport.h"
#include "Storage.h"

using namespace moduletest;
using Broadsoft::Filters::FilterTypes;
using linux_platform::PhoneModel;

namespace {

const FilterTypes kPersonal = static_cast<FilterTypes>(5);

std::string contact(const std::string& name, const std::string& numbers, const std::string& extra = "") {
    return "<contact><category>0</category><person><realName>" + name + "</realName>" + extra +
           "</person><telephony nid=\"1\">" + numbers + "</telephony><uniqueid>1</uniqueid></contact>";
}

std::string number(const std::string& id, const std::string& value) {
    return "<number type=\"home\" prio=\"1\" id=\"" + id + "\">" + value + "</number>";
}

std::string exportOf(const std::string& contacts) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><phonebooks><phonebook name=\"Telefonbuch\">" + contacts +
           "</phonebook></phonebooks>";
}

std::string entry(const std::string& name, const std::string& number) {
    return "<entry><name>" + name + "</name><number>" + number + "</number></entry>";
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

class PhonebookTest : public ModuleTest {
protected:
    void SetUp() override { linux_platform::setPhoneModel(PhoneModel::Other); }
};

TEST_F(PhonebookTest, ExportRequestIsTheExactMultipartForm) {
    access.sid() = kSid;
    const std::string body = access.multiPartData();
    EXPECT_EQ(body.size(), 413u);
    EXPECT_EQ(body,
              "------WebKitFormBoundaryPhone\r\nContent-Disposition: form-data; name=\"sid\"\r\n\r\n" + kSid +
                  "\r\n------WebKitFormBoundaryPhone\r\nContent-Disposition: form-data; name=\"PhonebookId\"\r\n\r\n"
                  "0\r\n------WebKitFormBoundaryPhone\r\nContent-Disposition: form-data; "
                  "name=\"PhonebookExportName\"\r\n\r\nTelefonbuch\r\n------WebKitFormBoundaryPhone\r\n"
                  "Content-Disposition: form-data; name=\"PhonebookExport\"\r\n\r\n\r\n"
                  "------WebKitFormBoundaryPhone--\r\n");
    access.sid().clear();
    EXPECT_EQ(access.multiPartData().size(), 397u);

    router.phonebookExport = exportOf(contact("Anna", number("0", "0301")));
    ASSERT_TRUE(box.sync(kPersonal, token));
    const auto requests = router.requests();
    ASSERT_EQ(requests.back().method, "POST");
    EXPECT_EQ(requests.back().target, "/cgi-bin/firmwarecfg");
    EXPECT_EQ(requests.back().header("Content-Type"), "multipart/form-data; boundary=----WebKitFormBoundaryPhone");
    EXPECT_EQ(requests.back().body, body);
}

TEST_F(PhonebookTest, ChangeTokenAndTheDirectoryDocument) {
    router.phonebookExport = exportOf(contact("Anna", number("0", "0301")) + contact("Bert", number("0", "0302")));
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(token, Cryptographer().md5(router.phonebookExport));
    EXPECT_EQ(box.getData(kPersonal),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Personal xmlns=\"http://schema.broadsoft.com/xsi\">"
              "<numberOfRecords>2</numberOfRecords><totalAvailableRecords>2</totalAvailableRecords>" +
                  entry("Anna", "0301") + entry("Bert", "0302") + "</Personal>");
    EXPECT_TRUE(logged(log, 6, "retrievePhonebookData() m_phoneBookSize='2'"));

    EXPECT_FALSE(box.sync(kPersonal, token)) << "unchanged export";
    EXPECT_EQ(access.phoneBookSize(), 0);
    EXPECT_EQ(access.phonebookXml(), "");

    router.phonebookExport.back() = ' ';
    EXPECT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phoneBookSize(), 2);

    router.phonebookExport = "<html>login page</html>";  // no contacts at all: still a changed export
    EXPECT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phoneBookSize(), 0);
}

struct ContactCase {
    std::string what;
    std::string record;  // text between "<contact" and "</contact>"
    std::string expectedEntries;
    std::string expectedTrace = "";
};

class ContactTest : public PhonebookTest, public ::testing::WithParamInterface<ContactCase> {};

TEST_P(ContactTest, Converts) {
    const ContactCase& c = GetParam();
    access.handlePhonebookRecord(c.record);
    EXPECT_EQ(access.phonebookXml(), c.expectedEntries);
    EXPECT_EQ(access.phoneBookSize(), c.expectedEntries.empty() ? 0 : 1);
    if (!c.expectedTrace.empty()) {
        EXPECT_TRUE(logged(log, 6, c.expectedTrace));
    }
}

std::string inner(const std::string& wholeContact) {
    return wholeContact.substr(8, wholeContact.size() - 8 - 10);  // without "<contact" and "</contact>"
}

INSTANTIATE_TEST_SUITE_P(
    Contacts, ContactTest,
    ::testing::Values(
        ContactCase{"first id=0 wins",
                    inner(contact("Anna", number("1", "0170") + number("0", "0301") + number("0", "0302"))),
                    entry("Anna", "0301")},
        ContactCase{"no id=0", inner(contact("Anna", number("1", "0170") + number("2", "0171"))), "",
                    "handleSinglePhonebookRecord() no valid number found[]"},
        ContactCase{"address number", inner(contact("Anna", number("0", "anna@sip.example"))), "",
                    "handleSinglePhonebookRecord() no valid number found[anna@sip.example]"},
        ContactCase{"references pass through", inner(contact("M&amp;M &#228;rger", number("0", "0301"))),
                    entry("M&amp;M &#228;rger", "0301")},
        ContactCase{
            "attributes on realName",
            "><person><realName lang=\"de\">Anna</realName></person><telephony>" + number("0", "0301") + "</telephony>",
            entry("Anna", "0301")},
        ContactCase{"split attributes and empty numbers",
                    "><person><realName>Alt</realName></person><telephony nid=\"2\">\n<number type=\"fax_work\" "
                    "/>\n<number type=\"home\"\n prio=\"1\"\n id=\"0\">0301</number></telephony>",
                    // keyword matching runs the self-closed element on into the next one and takes
                    // the text after its "/>" as the number
                    entry("Alt", "\n")},
        ContactCase{"no name", "><person></person><telephony>" + number("0", "0301") + "</telephony>", "",
                    "handleSinglePhonebookRecord() skip entry. name missing["},
        ContactCase{"no telephony", "><person><realName>Anna</realName></person>", "",
                    "handleSinglePhonebookRecord() skip entry. phone numbers missing[><person></person>]"}),
    [](const auto& info) {
        std::string name = info.param.what;
        for (char& c : name) {
            c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        }
        return name;
    });

TEST_F(PhonebookTest, RecordsAreCutByPlainTextKeywords) {
    // "<contacts>" also opens a record (it runs to the next "</contact>"); an unterminated last
    // contact ends the loop after the complete ones.
    router.phonebookExport = "<contacts>" + contact("Anna", number("0", "0301")) +
                             contact("Bert", number("0", "0302")) + "<contact><person><realName>Cleo</realName>";
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Anna", "0301") + entry("Bert", "0302"));
}

TEST_F(PhonebookTest, ARecordFormedAcrossTheSeamOfARemovedRecordIsFound) {
    // Removing Anna's record joins "<con" and "tact>" into a new start keyword, as repeated
    // extraction from the whole export does.
    router.phonebookExport = "<con" + contact("Anna", number("0", "0301")) +
                             "tact><person><realName>Bert</realName></person><telephony>" + number("0", "0302") +
                             "</telephony></contact>";
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Anna", "0301") + entry("Bert", "0302"));

    access.handlePhonebookRecord("><realName>Cleo</realName><telephony><num" + number("1", "0170") +
                                 "ber id=\"0\">0303</number></telephony>");
    EXPECT_EQ(access.phonebookXml(), entry("Anna", "0301") + entry("Bert", "0302") + entry("Cleo", "0303"));
}

TEST_F(PhonebookTest, LargeExportIsConvertedWhole) {
    std::string contacts;
    for (int i = 0; i < 5000; ++i) {
        // Names of varying length put record boundaries at every offset of the reading window.
        contacts += contact("Kontakt " + std::string(static_cast<std::size_t>(i % 97), 'x') + std::to_string(i),
                            number("1", "0170") + number("0", std::to_string(i)));
    }
    router.phonebookExport = exportOf(contacts);
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phoneBookSize(), 5000);
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        expected += entry("Kontakt " + std::string(static_cast<std::size_t>(i % 97), 'x') + std::to_string(i),
                          std::to_string(i));
    }
    EXPECT_EQ(access.phonebookXml(), expected);
}

class PicturesTest : public PhonebookTest {
protected:
    std::string withPicture(const std::string& name, const std::string& location) {
        return contact(name, number("0", "0301"), "<imageURL>" + location + "</imageURL>");
    }
};

TEST_F(PicturesTest, OnlyPictureModelsFetchAndStorePictures) {
    router.photos["/var/media/ftp/FRITZ/fonpix/1.jpg"] = std::string("\xff\xd8jpeg\0bytes", 12);
    router.phonebookExport = exportOf(withPicture("Anna", "file:///var/media/ftp/FRITZ/fonpix/1.jpg"));
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Anna", "0301"));
    EXPECT_EQ(router.count("/lua/photo.lua"), 0u);

    for (PhoneModel model : {PhoneModel::Tern, PhoneModel::Gull, PhoneModel::Wren}) {
        linux_platform::setPhoneModel(model);
        token.clear();
        ASSERT_TRUE(box.sync(kPersonal, token));
        EXPECT_EQ(access.phonebookXml(), entry("Anna@@@/data/images/fritzbox/1.jpg", "0301"));
        EXPECT_EQ(router.targets().back(), "/lua/photo.lua?photo=/var/media/ftp/FRITZ/fonpix/1.jpg&sid=" + kSid);
        EXPECT_EQ(readFile(kPictureDirectory + "1.jpg"), router.photos.begin()->second);
    }
    EXPECT_TRUE(logged(log, 6, "retrieveContactImage() written[true] responseData.size[12] fileSize[12]"));
}

TEST_F(PicturesTest, FailedPicturesKeepTheEntryWithoutPicture) {
    linux_platform::setPhoneModel(PhoneModel::Tern);
    router.photos["/p/empty.jpg"] = "";
    router.phonebookExport =
        exportOf(withPicture("Missing", "file:///p/none.jpg") + withPicture("Empty", "file:///p/empty.jpg"));
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Missing", "0301") + entry("Empty", "0301"));
    EXPECT_TRUE(logged(log, 2, "retrieveContactImage() error loading image. responseData:\nno such photo"));
    EXPECT_TRUE(logged(log, 2, "retrieveContactImage() error loading image. responseData:\n"));

    router.photos["/p/ok.jpg"] = "bytes";
    router.phonebookExport = exportOf(withPicture("Ok", "/p/ok.jpg"));
    ASSERT_TRUE(Storage::deleteDirectory(kPictureDirectory));
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Ok", "0301"));
    EXPECT_TRUE(logged(log, 2, "retrieveContactImage() cannot open file[/data/images/fritzbox/ok.jpg]"));
    Storage::makeDir(kPictureDirectory);
}

TEST_F(PicturesTest, PicturesStayInsideTheDirectoryWhateverTheLocation) {
    linux_platform::setPhoneModel(PhoneModel::Wren);
    for (const char* location : {"/a/same.jpg", "/b/same.jpg", "../../../tmp/escape.jpg", "/etc/passwd", "..", ""}) {
        router.photos[location] = std::string("picture from ") + location;
    }
    router.phonebookExport = exportOf(withPicture("A", "file:///a/same.jpg") + withPicture("B", "file:///b/same.jpg") +
                                      withPicture("C", "../../../tmp/escape.jpg") + withPicture("D", "/etc/passwd") +
                                      withPicture("E", "..") + withPicture("F", ""));
    const std::string passwd = readFile("/etc/passwd");
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("A@@@/data/images/fritzbox/same.jpg", "0301") +
                                         entry("B@@@/data/images/fritzbox/same.jpg", "0301") +
                                         entry("C@@@/data/images/fritzbox/escape.jpg", "0301") +
                                         entry("D@@@/data/images/fritzbox/passwd", "0301") + entry("E", "0301") +
                                         entry("F", "0301"));
    EXPECT_EQ(readFile(kPictureDirectory + "same.jpg"), "picture from /b/same.jpg") << "later one wins";
    EXPECT_EQ(readFile("/etc/passwd"), passwd);
    struct stat info {};
    EXPECT_NE(::stat("/tmp/escape.jpg", &info), 0);
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
