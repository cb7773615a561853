// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The platform's small helpers, each family one table: serializer, text helpers, storage, MD5 and
// the log line on stderr.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>

#include "ClientUtils.h"
#include "Cryptographer.h"
#include "HardwareVersion.h"
#include "LinuxPlatform.h"
#include "Logging.h"
#include "Serializer.h"
#include "Storage.h"

namespace {

// Hostile fields come back unchanged in both modes, and an escaped record holds nothing that
// would end a record or a line in the phone's storage.
TEST(Serializer, RoundTripsHostileFields) {
    const std::vector<std::string> fields = {
        "",         "plain", "a;b;;",      "two\nlines\r\n", std::string("nul\0x", 5),
        "12:34:56", "3:abc", "\\s\\n\\\\", "trailing\\"};
    for (const bool escape : {false, true}) {
        std::string record;
        for (const auto& field : fields) {
            Serializer::serialize(record, field, escape);
        }
        EXPECT_TRUE(!escape || record.find_first_of(std::string(";\n\r\0", 4)) == std::string::npos) << record;
        for (const auto& expected : fields) {
            std::string field;
            Serializer::deserialize(record, field, escape);
            EXPECT_EQ(field, expected);
        }
        EXPECT_TRUE(record.empty());
    }
}

// Two reads of each record: a malformed field comes out empty and empties the record, so nothing
// behind it is misread, and reading an empty record yields an empty field.
// ";" lies 11 above '0' and 11 bytes follow it, so only the digit check refuses that count; behind
// the empty count of ":3:abc" stands a well-formed field.
TEST(Serializer, MalformedRecordsYieldEmptyFieldsWithoutReadingPastTheEnd) {
    const struct {
        std::string record;
        bool escape;
        std::string first;
    } rows[] = {{"5:abc", false, ""},   {";:abcdefghijk", false, ""}, {"3abc", false, ""},
                {":3:abc", false, ""},  {"-1:a", false, ""},          {"99999999999999999999999999:a", false, ""},
                {"2:\\q1:a", true, ""}, {"1:\\", true, ""},           {"3:abc5:de", false, "abc"}};
    for (const auto& row : rows) {
        std::string record = row.record, first = "stale", second = "stale";
        Serializer::deserialize(record, first, row.escape);
        Serializer::deserialize(record, second, row.escape);
        EXPECT_EQ(first + "|" + second + "|" + record, row.first + "||") << row.record;
    }
}

// getStringBetweenKeywords takes the first complete pair out and keeps the text around it (without
// a complete pair nothing changes); replaceSubstringInString never rescans its own output.
TEST(ClientUtils, TextHelpers) {
    const struct {
        std::string source, begin, end, result;  // result: found|taken|left
    } pairs[] = {{"</a>head<a>one</a>tail<a>two</a>", "<a>", "</a>", "1|one|</a>headtail<a>two</a>"},
                 {"no keywords here", "<a>", "</a>", "0|untouched|no keywords here"},
                 {"end </a> before begin <a> only", "<a>", "</a>", "0|untouched|end </a> before begin <a> only"},
                 {"<a></a>", "", "</a>", "0|untouched|<a></a>"},
                 {"<a></a>", "<a>", "", "0|untouched|<a></a>"}};
    for (const auto& row : pairs) {
        std::string source = row.source, taken = "untouched";
        const bool found = ClientUtils::getStringBetweenKeywords(source, taken, row.begin, row.end);
        EXPECT_EQ(std::to_string(found) + "|" + taken + "|" + source, row.result) << row.source;
    }
    const std::pair<std::string, std::string> splits[] = {
        {"/var/pics/a.jpg", "/var/pics/|a.jpg"}, {"a.jpg", "|a.jpg"}, {"dir/", "dir/|"}};
    for (const auto& [full, expected] : splits) {
        std::string path = "stale", file = "stale";
        ClientUtils::splitFilenameAndPath(full, path, file);
        EXPECT_EQ(path + "|" + file, expected) << full;
    }
    std::string text = "aXbXX";
    ClientUtils::replaceSubstringInString(text, "X", "XX");
    EXPECT_EQ(text, "aXXbXXXX");
    EXPECT_EQ(ClientUtils::escapeXMLString("a&b<c>d\"e'f"), "a&amp;b&lt;c&gt;d&quot;e&apos;f");
}

// Whatever stands at the path, makeDir leaves a directory of this user that no one else can write,
// so nobody else can plant or redirect a file in it: a link in the way goes, never what it points
// to, and an untrusted directory goes with what it holds; a private one is kept as it is. Then
// deleteDirectory removes a tree holding links to a directory and a file outside it, and links of
// its own (one dangling, named with the trailing slash the module's path has), following none.
TEST(Storage, MakesPrivateDirectoriesAndDeletesWithoutFollowingLinks) {
    char pattern[] = "/tmp/fritzbox-storage-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    const std::string root = pattern, outside = root + "/outside", keep = outside + "/keep.txt";
    const std::string parent = root + "/parent", path = parent + "/pics", tree = root + "/tree";
    const std::shared_ptr<void> cleanup(nullptr, [&](void*) { Storage::deleteDirectory(root); });  // also on failure
    ASSERT_EQ(::mkdir(outside.c_str(), 0755), 0);
    std::ofstream(keep) << "precious";
    const auto directory = [&path](mode_t mode) {
        return ::mkdir(path.c_str(), mode) == 0 && ::chmod(path.c_str(), mode) == 0 &&
               std::ofstream(path + "/kept.jpg").good();
    };
    const auto link = [&path](const std::string& target) { return ::symlink(target.c_str(), path.c_str()) == 0; };
    const struct {
        const char* found;
        std::function<bool()> plant;  // none: not even the parent is there
        bool kept;
        const char* skipWhen = nullptr;  // the plant may fail here
    } rows[] = {
        {"nothing", nullptr, false},
        {"a private directory", [&] { return directory(0755); }, true},
        {"a link to a directory", [&] { return link(outside); }, false},
        {"a link to a file", [&] { return link(keep); }, false},
        {"a dangling link", [&] { return link(outside + "/absent"); }, false},
        {"a file", [&] { return std::ofstream(path).good(); }, false},
        {"a directory that others can write", [&] { return directory(0757); }, false},
        {"a directory that its group can write", [&] { return directory(0775); }, false},
        {"a directory of another user", [&] { return directory(0755) && ::chown(path.c_str(), 1, 1) == 0; }, false,
         "in a user namespace that maps no other user"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.found);
        Storage::deleteDirectory(parent);
        if (row.plant && (::mkdir(parent.c_str(), 0755) != 0 || !row.plant())) {
            ASSERT_NE(row.skipWhen, nullptr);
            std::cout << "[  SKIPPED ] the row with " << row.found << ": cannot plant it " << row.skipWhen << "\n";
            continue;
        }
        EXPECT_TRUE(Storage::makeDir(path + "/"));
        struct stat info;
        ASSERT_EQ(::lstat(path.c_str(), &info), 0);
        EXPECT_TRUE(S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() && (info.st_mode & 022) == 0) << info.st_mode;
        EXPECT_EQ(Storage::fileExists_stat(path + "/kept.jpg"), row.kept);
    }
    EXPECT_FALSE(Storage::makeDir(keep + "/pics")) << "a file as the parent";

    ASSERT_TRUE(Storage::makeDir(tree + "/a/b"));
    std::ofstream(tree + "/a/b/file.txt") << "x";
    ASSERT_EQ(::symlink(outside.c_str(), (tree + "/a/dirlink").c_str()), 0);
    ASSERT_EQ(::symlink(keep.c_str(), (tree + "/a/b/filelink").c_str()), 0);
    ASSERT_EQ(::symlink(outside.c_str(), (root + "/link").c_str()), 0);
    ASSERT_EQ(::symlink("absent", (root + "/slashlink").c_str()), 0);
    for (const std::string& gone : {tree, root + "/link", root + "/slashlink/", root + "/missing"}) {
        EXPECT_TRUE(Storage::deleteDirectory(gone)) << gone;
        struct stat info;
        EXPECT_NE(::lstat(gone.substr(0, gone.find_last_not_of('/') + 1).c_str(), &info), 0) << gone;
    }
    EXPECT_EQ(Storage::fileSize(keep), 8);
    EXPECT_EQ(Storage::fileSize(outside), -1) << "a directory";
    EXPECT_EQ(Storage::fileSize(root + "/missing"), -1);
}

// The router's login answer hashes "challenge-password" widened to 16 bits: every other byte is
// zero, and all of them count (the last row; its digest from python3 hashlib).
TEST(Md5, MatchesKnownDigests) {
    std::string widened;
    for (const char c : std::string("1234567z-\xE4") + "bc") {
        widened += {c, '\0'};
    }
    const std::pair<std::string, std::string> rows[] = {{"", "d41d8cd98f00b204e9800998ecf8427e"},
                                                        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
                                                        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                                                        {widened, "9e224a41eeefa284df7bb0f26c2913e2"}};
    for (const auto& [data, digest] : rows) {
        EXPECT_EQ(Cryptographer().md5(data), digest) << data;
    }
}

// Until a program sets one, the level comes from FRITZBOX_LOG_LEVEL: a whole decimal int, else 2.
// Whatever the level, level 2 is written.
TEST(Logging, LevelComesFromTheEnvironmentUntilSet) {
    const std::pair<const char*, int> rows[] = {
        {nullptr, 2}, {"", 2}, {"6x", 2}, {"2147483647", INT32_MAX}, {"2147483648", 2}, {"-2147483648", INT32_MIN}};
    for (const auto& [text, level] : rows) {
        text != nullptr ? ::setenv("FRITZBOX_LOG_LEVEL", text, 1) : ::unsetenv("FRITZBOX_LOG_LEVEL");
        linux_platform::resetLogLevel();
        EXPECT_TRUE(linux_platform::logLevel() == level && loggingOnAppQel("", 2)) << (text ? text : "unset");
    }
    ::unsetenv("FRITZBOX_LOG_LEVEL");
    linux_platform::resetLogLevel();
}

// Until a program sets one, the phone model comes from FRITZBOX_PHONE_MODEL, in any case.
TEST(PhoneModel, ComesFromTheEnvironmentUntilSet) {
    const std::pair<const char*, std::string> rows[] = {
        {nullptr, "000"}, {"TERN", "100"}, {"gull", "010"}, {"Wren", "001"}, {"robin", "000"}};
    for (const auto& [text, answers] : rows) {  // answers: is_Tern, is_Gull_any, is_Wren_any
        text != nullptr ? ::setenv("FRITZBOX_PHONE_MODEL", text, 1) : ::unsetenv("FRITZBOX_PHONE_MODEL");
        linux_platform::resetPhoneModel();
        EXPECT_EQ(std::to_string(HardwareVersion::is_Tern()) + std::to_string(HardwareVersion::is_Gull_any()) +
                      std::to_string(HardwareVersion::is_Wren_any()),
                  answers)
            << (text != nullptr ? text : "unset");
    }
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Gull);
    EXPECT_TRUE(HardwareVersion::is_Gull_any()) << "set, whatever the environment says";
    ::unsetenv("FRITZBOX_PHONE_MODEL");
    linux_platform::resetPhoneModel();
}

// Without a sink a line goes to stderr in the phone's format, a message far longer than any fixed
// buffer whole.
std::string writtenToStderr(const std::string& message) {
    linux_platform::setLogLevel(6);
    ::testing::internal::CaptureStderr();
    logAppQel("Broadsoft Service", "./src/FritzBox", 6, 123, "message %s", message.c_str());
    return ::testing::internal::GetCapturedStderr();
}

// Router bytes reach log lines: on stderr each call stays one line, its control bytes escaped
// (no terminal escape sequence gets through), and a long message is cut with a note.
TEST(Logging, WritesEachCallAsOneEscapedLineToStderrWithoutASink) {
    const std::string prefix = "fritzbox <6> [Broadsoft Service] ./src/FritzBox:123 ";
    EXPECT_EQ(writtenToStderr("plain text"), prefix + "message plain text\n");
    EXPECT_EQ(writtenToStderr("<html>\r\n\x1b[2J\x07\tA\\B\x7f\xc3\xa4</html>"),
              prefix + "message <html>\\r\\n\\x1b[2J\\x07\\tA\\\\B\\x7f\xc3\xa4</html>\n");
    const std::string written = writtenToStderr(std::string(100000, 'x'));
    EXPECT_EQ(written, prefix + "message " + std::string(4096 - 8, 'x') + "... (95912 more bytes)\n");
}

}  // namespace
