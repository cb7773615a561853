#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "Storage.h"

namespace {

// A tree holding links to a directory and a file outside it, and a link of its own, are deleted;
// what the links point to stays.
TEST(Storage, DeletesTreesAndLinksButNeverWhatTheyPointTo) {
    char pattern[] = "/tmp/fritzbox-storage-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    const std::string root = pattern;
    const struct Cleanup {
        std::string path;
        ~Cleanup() { Storage::deleteDirectory(path); }
    } cleanup{root};  // also when an assertion fails
    const std::string outside = root + "/outside";
    const std::string tree = root + "/tree";
    ASSERT_TRUE(Storage::makeDir(outside));
    EXPECT_TRUE(Storage::makeDir(outside));  // already there
    std::ofstream(outside + "/keep.txt") << "precious";
    ASSERT_TRUE(Storage::makeDir(tree + "/a/b"));
    std::ofstream(tree + "/a/b/file.txt") << "x";
    ASSERT_EQ(::symlink(outside.c_str(), (tree + "/a/dirlink").c_str()), 0);
    ASSERT_EQ(::symlink((outside + "/keep.txt").c_str(), (tree + "/a/b/filelink").c_str()), 0);
    ASSERT_EQ(::symlink(outside.c_str(), (root + "/link").c_str()), 0);

    for (const std::string& path : {tree, root + "/link", root + "/missing"}) {
        EXPECT_TRUE(Storage::deleteDirectory(path)) << path;
        EXPECT_FALSE(Storage::fileExists_stat(path)) << path;
    }
    EXPECT_EQ(Storage::fileSize(outside + "/keep.txt"), 8);
    EXPECT_EQ(Storage::fileSize(root + "/missing"), -1);
}

}  // namespace
