// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Phonebook import: the export fetch, contact conversion and contact pictures.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iostream>
#include <map>
#include <memory>
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
// The lean contact the walk cuts out of an export: the conversion reads nothing else. As in the
// router's export, the picture location stands in `person`, before the numbers.
std::string contact(const std::string& name, const std::string& number, const std::string& person = "") {
    return "><person><realName>" + name + "</realName>" + person + "</person><telephony><number id=\"0\">" + number +
           "</number></telephony>";
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

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

using PhonebookTest = ModuleTest;

// Contacts without a name or without numbers are left out; a contact cut off by the end of the
// export is no contact.
TEST_F(PhonebookTest, FetchWithChangeToken) {
    router.setPhonebookExport("<phonebook><contact" + contact("Anna", "0301") +
                              "</contact><contact><person></person><telephony><number id=\"0\">0303</number>"
                              "</telephony></contact><contact><realName>Dora</realName></contact><contact" +
                              contact("Bert", "0302") + "</contact><contact><realName>Cleo</realName>");
    ASSERT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(token, Cryptographer().md5(router.phonebookExport()));
    const std::string counts = "<numberOfRecords>2</numberOfRecords><totalAvailableRecords>2</totalAvailableRecords>";
    EXPECT_NE(box.getData(kPersonal).find(counts + entry("Anna") + entry("Bert", "0302") + "</Personal>"),
              std::string::npos);

    EXPECT_FALSE(box.sync(kPersonal, token)) << "unchanged export";
    const std::string empty = personalDocument(0, "");
    EXPECT_EQ(box.getData(kPersonal), empty);

    router.setPhonebookExport("<html>login page</html>");  // no contacts at all: still a changed export
    EXPECT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(box.getData(kPersonal), empty);
    EXPECT_EQ(router.targets().back(), kExportTarget);
    EXPECT_EQ(router.requests().back().body, exportFormBody(kSid));

    // An export the exchange reads in several pieces arrives whole.
    std::string large = "<phonebook>", entries;
    for (int i = 0; i < 5000; ++i) {
        large += "<contact" + contact("Contact " + std::to_string(i), "0301") + "</contact>";
        entries += entry("Contact " + std::to_string(i));
    }
    ASSERT_GT(large.size(), 2u * 204800) << "more than two reads";
    router.setPhonebookExport(large);
    EXPECT_TRUE(box.sync(kPersonal, token));
    EXPECT_EQ(box.getData(kPersonal), personalDocument(5000, entries));
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
    router.setPhonebookExport(exportWithPictures({"file:///var/media/ftp/FRITZ/fonpix/1.jpg"}));
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

// Each row: a location, the name its picture is stored under and what stands under that name
// before the sync, if anything. One export holds a contact per row; the router answers each photo
// with its request target, so a file shows which answer it holds. Nothing outside the directory
// changes, also when a link takes the directory's place after the object made it. A FIFO without
// a reader must not hold the sync: should it, the test lets the sync go on by opening the reader,
// and the picture then found in the FIFO fails the row.
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
    const std::string outside = "/data/images/outside/", keep = outside + "keep.txt";
    const std::shared_ptr<void> cleanup(nullptr, [&](void*) { Storage::deleteDirectory(outside); });
    ASSERT_TRUE(Storage::makeDir(outside + "dir"));
    std::ofstream(keep) << "precious";
    std::vector<std::string> lonelyFifos;
    std::vector<int> fifoReaders;
    const auto readFifo = [&fifoReaders](const std::string& path) {
        fifoReaders.push_back(::open(path.c_str(), O_RDONLY | O_NONBLOCK));
    };
    const std::map<std::string, std::function<int(const std::string& path)>> plants = {
        {"an earlier picture", [](const std::string& path) { return std::ofstream(path) << std::string(99, 'x'), 0; }},
        {"a link", [&](const std::string& path) { return ::symlink(keep.c_str(), path.c_str()); }},
        {"a dangling link",
         [&](const std::string& path) { return ::symlink((outside + "new").c_str(), path.c_str()); }},
        {"a hard link", [&](const std::string& path) { return ::link(keep.c_str(), path.c_str()); }},
        {"a FIFO", [&](const std::string& path) { return lonelyFifos.push_back(path), ::mkfifo(path.c_str(), 0644); }},
        {"a FIFO with a reader",
         [&](const std::string& path) { return ::mkfifo(path.c_str(), 0644) == 0 ? readFifo(path), 0 : -1; }},
        {"a device", [](const std::string& path) { return ::mknod(path.c_str(), S_IFCHR | 0666, makedev(1, 3)); }},
        {"a directory", [](const std::string& path) { return ::mkdir(path.c_str(), 0755); }},
    };
    const std::vector<Row> rows = rowsOf("pictures.txt");
    std::vector<std::string> locations, names;
    std::string entries, refusedEntries;
    std::set<std::string> stored, found;
    for (const Row& row : rows) {
        locations.push_back(row[0]);
        names.push_back(row[1]);
        if (row.size() > 2) {
            const std::string name = pictureTarget(row[0]).fileName;
            stored.insert(name);  // what is planted stays there
            if (plants.at(row[2])(kPictureDirectory + name) != 0) {
                ASSERT_TRUE(row[2] == "a device" && errno == EPERM) << row[0];
                std::cout << "[  SKIPPED ] the device row: no mknod in a user namespace\n";
                names.back() = name;
            }
        }
        entries += entry(names.back() == "-" ? "C" : "C@@@" + kPictureDirectory + names.back());
        refusedEntries += entry("C");
        EXPECT_TRUE(names.back() == "-" || pictureTarget(row[0]).fileName == names.back()) << row[0];
    }
    router.setPhonebookExport(exportWithPictures(locations));
    auto syncing = std::async(std::launch::async, [this] { return box.sync(kPersonal, token); });
    if (syncing.wait_for(std::chrono::milliseconds(500)) != std::future_status::ready) {
        std::for_each(lonelyFifos.begin(), lonelyFifos.end(), readFifo);  // lets a blocked open go on
    }
    ASSERT_TRUE(syncing.get());
    EXPECT_EQ(box.getData(kPersonal), personalDocument(static_cast<std::int32_t>(rows.size()), entries));
    // Every contact asks for its picture, in the export's order; a later picture of the same name
    // replaces the earlier one. What is found under a picture's name and is not a regular file of
    // its own is refused like a file that cannot be opened.
    std::vector<std::string> photos = router.targets();
    photos.erase(std::remove_if(photos.begin(), photos.end(),
                                [](const std::string& target) { return target.rfind("/lua/photo.lua", 0) != 0; }),
                 photos.end());
    ASSERT_EQ(photos.size(), rows.size());
    std::map<std::string, std::string> expected;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (names[i] != "-") {
            expected[names[i]] = photos[i];
            stored.insert(names[i]);
        } else if (rows[i].size() > 2) {
            const std::string path = kPictureDirectory + pictureTarget(rows[i][0]).fileName;
            EXPECT_TRUE(log.contains("retrieveContactImage() cannot open file[" + path + "]", 2)) << path;
        }
    }
    for (const auto& [name, content] : expected) {
        EXPECT_EQ(contents(kPictureDirectory + name), content) << name;
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
    for (const int reader : fifoReaders) {
        char byte;
        EXPECT_LE(::read(reader, &byte, 1), 0) << "written into a FIFO";
        ::close(reader);
    }

    // A link put in the directory's place after the object made it.
    Storage::deleteDirectory(kPictureDirectory);
    ASSERT_EQ(::symlink((outside + "dir").c_str(), kPictureDirectory.substr(0, kPictureDirectory.size() - 1).c_str()),
              0);
    std::string fresh;
    ASSERT_TRUE(box.sync(kPersonal, fresh));
    EXPECT_EQ(box.getData(kPersonal), personalDocument(static_cast<std::int32_t>(rows.size()), refusedEntries));
    std::set<std::string> left;
    for (const auto& file : std::filesystem::recursive_directory_iterator(outside)) {
        left.insert(file.path().string());
    }
    EXPECT_EQ(left, (std::set<std::string>{outside + "dir", keep}));
    EXPECT_EQ(contents(keep), "precious");
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
