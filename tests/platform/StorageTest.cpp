#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "Storage.h"

namespace {

class StorageTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/fritzbox-storage-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root = pattern;
        outside = root + "/outside";
        ASSERT_TRUE(Storage::makeDir(outside));
        std::ofstream(outside + "/keep.txt") << "precious";
    }
    void TearDown() override { Storage::deleteDirectory(root); }

    std::string root;
    std::string outside;
};

TEST_F(StorageTest, DeleteDirectoryRemovesLinksButNeverWhatTheyPointTo) {
    const std::string tree = root + "/tree";
    ASSERT_TRUE(Storage::makeDir(tree + "/a/b"));
    std::ofstream(tree + "/a/b/file.txt") << "x";
    ASSERT_EQ(::symlink(outside.c_str(), (tree + "/a/dirlink").c_str()), 0);
    ASSERT_EQ(::symlink((outside + "/keep.txt").c_str(), (tree + "/a/b/filelink").c_str()), 0);

    EXPECT_TRUE(Storage::deleteDirectory(tree));
    EXPECT_FALSE(Storage::fileExists_stat(tree));
    EXPECT_EQ(Storage::fileSize(outside + "/keep.txt"), 8);
}

TEST_F(StorageTest, DeleteDirectoryOnALinkRemovesOnlyTheLink) {
    const std::string link = root + "/link";
    ASSERT_EQ(::symlink(outside.c_str(), link.c_str()), 0);
    EXPECT_TRUE(Storage::deleteDirectory(link));
    EXPECT_FALSE(Storage::fileExists_stat(link));
    EXPECT_TRUE(Storage::fileExists_stat(outside + "/keep.txt"));
}

TEST_F(StorageTest, ReportsMissingPathsAndExistingDirectories) {
    EXPECT_EQ(Storage::fileSize(root + "/missing"), -1);
    EXPECT_FALSE(Storage::fileExists_stat(root + "/missing"));
    EXPECT_TRUE(Storage::deleteDirectory(root + "/missing"));
    EXPECT_TRUE(Storage::makeDir(outside));  // already there
}

}  // namespace
