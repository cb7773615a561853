// Phonebook import: the export fetch, contact conversion and contact pictures.
#include <unistd.h>

#include <fstream>

#include "Cryptographer.h"
#include "ModuleTest.h"
#include "Storage.h"

using namespace testsupport;
using linux_platform::PhoneModel;

namespace {

const auto kPersonal = Broadsoft::Filters::Personal;

std::string contact(const std::string& name, const std::string& numbers, const std::string& extra = "") {
    return "<contact><category>0</category><person><realName>" + name + "</realName>" + extra +
           "</person><telephony nid=\"1\">" + numbers + "</telephony><uniqueid>1</uniqueid></contact>";
}

std::string number(const std::string& id, const std::string& value) {
    return "<number type=\"home\" prio=\"1\" id=\"" + id + "\">" + value + "</number>";
}

std::string entry(const std::string& name, const std::string& number = "0301") {
    return "<entry><name>" + name + "</name><number>" + number + "</number></entry>";
}

std::string withPicture(const std::string& name, const std::string& location) {
    return contact(name, number("0", "0301"), "<imageURL>" + location + "</imageURL>");
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

using PhonebookTest = ModuleTest;

TEST_F(PhonebookTest, ChangeTokenAndTheDirectoryDocument) {
    router.phonebookExport = "<phonebook>" + contact("Anna", number("0", "0301")) +
                             contact("Bert", number("0", "0302")) + "<contact><realName>Cleo</realName>";
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(token, Cryptographer().md5(router.phonebookExport));
    EXPECT_EQ(box.getData(kPersonal),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Personal xmlns=\"http://schema.broadsoft.com/xsi\">"
              "<numberOfRecords>2</numberOfRecords><totalAvailableRecords>2</totalAvailableRecords>" +
                  entry("Anna") + entry("Bert", "0302") + "</Personal>");

    EXPECT_FALSE(box.sync(kPersonal, token)) << "unchanged export";
    EXPECT_EQ(access.phoneBookSize(), 0);
    EXPECT_EQ(access.phonebookXml(), "");

    router.phonebookExport = "<html>login page</html>";  // no contacts at all: still a changed export
    EXPECT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phoneBookSize(), 0);
}

TEST_F(PhonebookTest, ContactConversion) {
    const struct {
        std::string record;  // text between "<contact" and "</contact>"
        std::string expectedEntry;
        std::string expectedTrace;
    } cases[] = {
        {contact("Anna", number("1", "0170") + number("0", "0301") + number("0", "0302")), entry("Anna"), ""},
        {contact("Anna", number("1", "0170") + number("2", "0171")), "", "no valid number found[]"},
        {contact("Anna", number("0", "anna@sip.example")), "", "no valid number found[anna@sip.example]"},
        {contact("M&amp;M &#228;rger", number("0", "0301")), entry("M&amp;M &#228;rger"), ""},
        {"><realName lang=\"de\">Anna</realName><telephony>" + number("0", "0301") + "</telephony>", entry("Anna"), ""},
        // The self-closed element runs on into the next one; the text after its "/>" is taken.
        {"><realName>Alt</realName><telephony>\n<number type=\"fax_work\" />\n<number type=\"home\"\n id=\"0\">0301"
         "</number></telephony>",
         entry("Alt", "\n"), ""},
        {"><person></person><telephony>" + number("0", "0301") + "</telephony>", "", "skip entry. name missing["},
        {"><person><realName>Anna</realName></person>", "", "skip entry. phone numbers missing[><person></person>]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.record);
        log.clear();
        access.forgetConversions();
        const std::size_t before = static_cast<std::size_t>(access.phoneBookSize());
        access.handlePhonebookRecord(c.record);
        EXPECT_EQ(access.phonebookXml(), c.expectedEntry);
        EXPECT_EQ(static_cast<std::size_t>(access.phoneBookSize()), before + (c.expectedEntry.empty() ? 0 : 1));
        EXPECT_TRUE(c.expectedTrace.empty() || log.contains("handleSinglePhonebookRecord() " + c.expectedTrace, 6));
    }
}

TEST_F(PhonebookTest, OnlyPictureModelsFetchAndStorePictures) {
    router.photos["/var/media/ftp/FRITZ/fonpix/1.jpg"] = std::string("\xff\xd8jpeg\0bytes", 12);
    router.phonebookExport = withPicture("Anna", "file:///var/media/ftp/FRITZ/fonpix/1.jpg");
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Anna"));
    EXPECT_EQ(router.count("/lua/photo.lua"), 0u);

    for (PhoneModel model : {PhoneModel::Tern, PhoneModel::Gull, PhoneModel::Wren}) {
        linux_platform::setPhoneModel(model);
        token.clear();
        ASSERT_TRUE(box.sync(kPersonal, token));
        EXPECT_EQ(access.phonebookXml(), entry("Anna@@@/data/images/fritzbox/1.jpg"));
        EXPECT_EQ(router.targets().back(), "/lua/photo.lua?photo=/var/media/ftp/FRITZ/fonpix/1.jpg&sid=" + kSid);
        EXPECT_EQ(readFile(kPictureDirectory + "1.jpg"), router.photos.begin()->second);
    }
    EXPECT_TRUE(log.contains("retrieveContactImage() written[true] responseData.size[12] fileSize[12]", 6));
}

TEST_F(PhonebookTest, FailedPicturesKeepTheEntryWithoutPicture) {
    linux_platform::setPhoneModel(PhoneModel::Tern);
    router.photos["/p/empty.jpg"] = "";
    router.phonebookExport = withPicture("Missing", "file:///p/none.jpg") + withPicture("Empty", "file:///p/empty.jpg");
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Missing") + entry("Empty"));
    EXPECT_TRUE(log.contains("retrieveContactImage() error loading image. responseData:\nno such photo", 2));

    router.photos["/p/ok.jpg"] = "bytes";
    router.phonebookExport = withPicture("Ok", "/p/ok.jpg");
    ASSERT_TRUE(Storage::deleteDirectory(kPictureDirectory));
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), entry("Ok"));
    EXPECT_TRUE(log.contains("retrieveContactImage() cannot open file[/data/images/fritzbox/ok.jpg]", 2));
    Storage::makeDir(kPictureDirectory);
}

TEST_F(PhonebookTest, PicturesStayInsideTheDirectoryWhateverTheLocation) {
    linux_platform::setPhoneModel(PhoneModel::Wren);
    const std::pair<std::string, std::string> cases[] = {{"file:///a/same.jpg", "same.jpg"},
                                                         {"file:///b/same.jpg", "same.jpg"},
                                                         {"../../../tmp/escape.jpg", "escape.jpg"},
                                                         {"/etc/passwd", "passwd"},
                                                         {"..", ""},
                                                         {"", ""}};
    std::string expected;
    for (const auto& [location, stored] : cases) {
        router.photos[location.substr(location.rfind("file://", 0) == 0 ? 7 : 0)] = "picture from " + location;
        router.phonebookExport += withPicture("C", location);
        expected += entry(stored.empty() ? "C" : "C@@@/data/images/fritzbox/" + stored);
    }
    const std::string passwd = readFile("/etc/passwd");
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(access.phonebookXml(), expected);
    EXPECT_EQ(readFile(kPictureDirectory + "same.jpg"), "picture from file:///b/same.jpg") << "later one wins";
    EXPECT_EQ(readFile("/etc/passwd"), passwd);
    EXPECT_NE(::unlink("/tmp/escape.jpg"), 0) << "written outside the directory";
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
