// Phonebook import: the export fetch, contact conversion and contact pictures.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "Cryptographer.h"
#include "Documents.h"
#include "ModuleTest.h"
#include "Storage.h"

using namespace testsupport;
using namespace fritzbox_detail;
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

// An export of one contact per picture location, all named "C".
std::string exportWithPictures(const std::vector<std::string>& locations) {
    std::string exported = "<phonebook>";
    for (const std::string& location : locations) {
        exported += "<contact" + contact("C", "0301", "<imageURL>" + location + "</imageURL>") + "</contact>";
    }
    return exported;
}

using PhonebookTest = ModuleTest;

TEST_F(PhonebookTest, FetchWithChangeToken) {
    router.phonebookExport = "<phonebook><contact" + contact("Anna", "0301") + "</contact><contact" +
                             contact("Bert", "0302") + "</contact><contact><realName>Cleo</realName>";
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(token, Cryptographer().md5(router.phonebookExport));
    const std::string counts = "<numberOfRecords>2</numberOfRecords><totalAvailableRecords>2</totalAvailableRecords>";
    EXPECT_NE(box.getData(kPersonal).find(counts + entry("Anna") + entry("Bert", "0302") + "</Personal>"),
              std::string::npos);

    EXPECT_FALSE(box.sync(kPersonal, token)) << "unchanged export";
    const std::string empty = personalDocument(0, "");
    EXPECT_EQ(box.getData(kPersonal), empty);

    router.phonebookExport = "<html>login page</html>";  // no contacts at all: still a changed export
    EXPECT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(box.getData(kPersonal), empty);
    EXPECT_EQ(router.targets().back(), kExportTarget);
    EXPECT_EQ(router.requests().back().body, exportFormBody(kSid));
}

// Each row: a record and the entry's name and number, or why it is skipped and what that shows.
TEST(ContactTest, ContactReading) {
    const std::map<std::string, ContactFault> faults = {{"skip name", ContactFault::NameMissing},
                                                        {"skip numbers", ContactFault::NumbersMissing},
                                                        {"skip number", ContactFault::NoValidNumber}};
    for (const Row& row : rowsOf("contacts.txt")) {
        SCOPED_TRACE(row[0]);
        std::string record = row[0];
        const ContactReading reading = readContact(record);
        const auto fault = faults.find(row[1]);
        EXPECT_EQ(reading.fault, fault == faults.end() ? ContactFault::None : fault->second);
        const bool skipped = fault != faults.end();
        const Row read = skipped ? Row{reading.shown} : Row{reading.name, reading.number};
        EXPECT_EQ(read, Row(row.begin() + 1 + skipped, row.end()));
    }
}

TEST_F(PhonebookTest, OnlyPictureModelsFetchPictures) {
    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        reply.body = "jpeg";
        return request.target.rfind("/lua/photo.lua", 0) == 0;
    };
    router.phonebookExport = exportWithPictures({"file:///var/media/ftp/FRITZ/fonpix/1.jpg"});
    for (PhoneModel model : {PhoneModel::Other, PhoneModel::Tern, PhoneModel::Gull, PhoneModel::Wren}) {
        linux_platform::setPhoneModel(model);
        std::string fresh;
        ASSERT_TRUE(box.sync(kPersonal, fresh));
        EXPECT_NE(box.getData(kPersonal).find(
                      entry(model == PhoneModel::Other ? "C" : "C@@@/data/images/fritzbox/1.jpg") + "</Personal>"),
                  std::string::npos);
    }
    EXPECT_EQ(router.targets().back(), "/lua/photo.lua?photo=/var/media/ftp/FRITZ/fonpix/1.jpg&sid=" + kSid);
    EXPECT_EQ(router.count("/lua/photo.lua"), 3u);
}

// Each row: a location and the name its picture is stored under. One export holds a contact per
// row; the router answers each photo with its request target, so a file shows which answer it
// holds.
TEST_F(PhonebookTest, PictureLocations) {
    linux_platform::setPhoneModel(PhoneModel::Wren);
    router.override = [](const ReceivedRequest& request, ScriptedReply& reply) {
        if (request.target.rfind("/lua/photo.lua", 0) != 0) {
            return false;
        }
        const auto names = [&request](const char* word) { return request.target.find(word) != std::string::npos; };
        reply.status = names("moved") ? 303 : names("missing") ? 404 : 200;
        reply.body = names("empty") ? "" : request.target;
        return true;
    };
    const std::vector<Row> rows = rowsOf("pictures.txt");
    std::vector<std::string> locations;
    std::string entries;
    std::set<std::string> stored, found;
    for (const Row& row : rows) {
        locations.push_back(row[0]);
        entries += entry(row[1] == "-" ? "C" : "C@@@" + kPictureDirectory + row[1]);
        EXPECT_TRUE(row[1] == "-" || pictureTarget(row[0]).fileName == row[1]) << row[0];
    }
    router.phonebookExport = exportWithPictures(locations);
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(box.getData(kPersonal), personalDocument(static_cast<std::int32_t>(rows.size()), entries));
    // Every contact asks for its picture, in the export's order; a later picture of the same name
    // replaces the earlier one.
    std::vector<std::string> photos = router.targets();
    photos.erase(std::remove_if(photos.begin(), photos.end(),
                                [](const std::string& target) { return target.rfind("/lua/photo.lua", 0) != 0; }),
                 photos.end());
    ASSERT_EQ(photos.size(), rows.size());
    std::map<std::string, std::string> expected;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i][1] != "-") {
            expected[rows[i][1]] = photos[i];
            stored.insert(rows[i][1]);
        }
    }
    for (const auto& [name, content] : expected) {
        std::ifstream file(kPictureDirectory + name, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), content) << name;
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
