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
// The lean contact the walk cuts out of an export: the conversion reads nothing else.
std::string contact(const std::string& name, const std::string& number, const std::string& extra = "") {
    return "><realName>" + name + "</realName><telephony><number id=\"0\">" + number + "</number></telephony>" + extra;
}

std::string entry(const std::string& name, const std::string& number = "0301") {
    return "<entry><name>" + name + "</name><number>" + number + "</number></entry>";
}

class PhonebookTest : public ModuleTest {
protected:
    // Converts one contact record as the export walk hands it out (after "<contact"), with a
    // clean log, and returns the entry it gave.
    std::string convert(const std::string& record) {
        log.clear();
        access.forgetConversions();
        access.handlePhonebookRecord(record);
        return access.phonebookXml();
    }
    std::string convertPicture(const std::string& location) {
        return convert(contact("C", "0301", "<imageURL>" + location + "</imageURL>"));
    }
};

TEST_F(PhonebookTest, FetchWithChangeToken) {
    router.phonebookExport = "<phonebook><contact" + contact("Anna", "0301") + "</contact><contact" +
                             contact("Bert", "0302") + "</contact><contact><realName>Cleo</realName>";
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

// Each row: a record and the entry's name and number, or the level-6 line of a skipped contact.
TEST_F(PhonebookTest, ContactConversion) {
    for (const Row& row : rowsOf("contacts.txt")) {
        SCOPED_TRACE(row[0]);
        const int before = access.phoneBookSize();
        const bool skipped = row.size() == 2;
        EXPECT_EQ(convert(row[0]), skipped ? "" : entry(row[1], row[2]));
        EXPECT_EQ(access.phoneBookSize(), before + (skipped ? 0 : 1));
        EXPECT_TRUE(!skipped || log.contains("handleSinglePhonebookRecord() " + row[1], 6)) << log.text();
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

// Each row: a location and the name its picture is stored under. The router answers each photo
// with its request target, so a file shows which answer it holds.
TEST_F(PhonebookTest, PictureLocations) {
    linux_platform::setPhoneModel(PhoneModel::Wren);
    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        reply.status = request.target.find("missing") != std::string::npos ? 404 : 200;
        reply.body = request.target.find("empty") != std::string::npos ? "" : request.target;
        return true;
    };
    std::set<std::string> stored, found;
    for (const Row& row : rowsOf("pictures.txt")) {
        SCOPED_TRACE(row[0]);
        const std::string& name = row[1];
        EXPECT_EQ(convertPicture(row[0]), entry(name == "-" ? "C" : "C@@@" + kPictureDirectory + name));
        if (name != "-") {
            ASSERT_FALSE(router.requests().empty()) << "no photo was asked for";
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
