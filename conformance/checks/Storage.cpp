// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Storage: the picture directory is made with the object and deleted with everything in it;
// the two queries only feed a trace line. Every path is inside the check's own directory.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "Kit.h"
#include "Storage.h"

namespace conformance {

namespace {

bool isDirectory(const std::string& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool exists(const std::string& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
    if (!exists(path)) {
        fail("the kit able to write " + quoted(path), "an error");
    }
}

void createsWithTrailingSlash(Context& context) {
    const std::string pictures = context.directory + "/pictures/";
    for (int call = 1; call <= 2; ++call) {
        Storage::makeDir(pictures);
        expectTrue(isDirectory(pictures),
                   "a directory after makeDir call " + std::to_string(call) + " of " + quoted(pictures), "none");
    }
    writeFile(pictures + "photo.jpg", "jpeg");
}

void createsParents(Context& context) {
    const std::string deep = context.directory + "/a/b/c/";
    expectTrue(Storage::makeDir(deep) && isDirectory(deep), "makeDir true and the directory with its parents",
               isDirectory(deep) ? "false" : "no directory");
}

// The picture directory as the module leaves it: names the router chose, and a subdirectory.
void fillPictures(const std::string& pictures) {
    ::mkdir(pictures.c_str(), 0700);
    for (const char* name : {"a b.jpg", "100%.jpg", "line\r\nbreak.jpg", ".hidden", "\xff.jpg"}) {
        writeFile(pictures + name, "jpeg");
    }
    ::mkdir((pictures + "sub").c_str(), 0700);
    writeFile(pictures + "sub/inner.jpg", "jpeg");
}

void removesContents(Context& context) {
    const std::string pictures = context.directory + "/pictures/";
    fillPictures(pictures);
    Storage::deleteDirectory(pictures);
    expectTrue(!exists(pictures), "no " + quoted(pictures) + " after deleteDirectory", "it is still there");
    Storage::deleteDirectory(pictures);
    expectTrue(exists(context.directory), "deleting a missing directory harmless", "its parent went too");
}

void linksNotFollowed(Context& context) {
    const std::string pictures = context.directory + "/pictures/", outside = context.directory + "/outside";
    fillPictures(pictures);
    ::mkdir(outside.c_str(), 0700);
    writeFile(outside + "/keep.jpg", "keep");
    if (::symlink(outside.c_str(), (pictures + "to-dir").c_str()) != 0 ||
        ::symlink((outside + "/keep.jpg").c_str(), (pictures + "to-file").c_str()) != 0) {
        fail("the kit able to make symbolic links", "an error");
    }
    Storage::deleteDirectory(pictures);
    expectTrue(!exists(pictures) && exists(outside + "/keep.jpg"),
               "the directory gone and what its links pointed to kept",
               exists(pictures) ? "the directory is still there" : "the link's target was deleted");
}

bool privateDirectory(const std::string& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// `link` made a symbolic link to the directory `outside`, which holds keep.jpg.
void plantLinkToOutside(const std::string& link, const std::string& outside) {
    ::mkdir(outside.c_str(), 0700);
    writeFile(outside + "/keep.jpg", "keep");
    if (::symlink(outside.c_str(), link.c_str()) != 0) {
        fail("the kit able to make a symbolic link", "an error");
    }
}

// What makeDir finds at the path decides what it leaves: a private directory of the user is kept
// with its contents; a link (to a directory) and a directory that others can write are replaced by
// a fresh private directory, and what the link pointed to stays as it was.
void makesPrivateDirectory(Context& context) {
    const std::string pictures = context.directory + "/pictures", outside = context.directory + "/outside";
    plantLinkToOutside(pictures, outside);
    Storage::makeDir(pictures + "/");
    expectTrue(privateDirectory(pictures) && exists(outside + "/keep.jpg"),
               "a link in the directory's place replaced by a private directory, its target kept",
               privateDirectory(pictures) ? "the link's target lost its file" : "no private directory");

    writeFile(pictures + "/kept.jpg", "kept");
    Storage::makeDir(pictures + "/");
    expectTrue(exists(pictures + "/kept.jpg"), "a private directory kept with its files", "its file went");

    ::chmod(pictures.c_str(), 0777);
    Storage::makeDir(pictures + "/");
    expectTrue(privateDirectory(pictures) && !exists(pictures + "/kept.jpg"),
               "a directory others can write replaced by a fresh private one",
               privateDirectory(pictures) ? "the old files are still there" : "still writable by others");
}

// The path itself a link, named with a trailing slash as the module names it: the link goes, what
// it points to stays.
void removesLinkItself(Context& context) {
    const std::string pictures = context.directory + "/pictures", outside = context.directory + "/outside";
    plantLinkToOutside(pictures, outside);
    Storage::deleteDirectory(pictures + "/");
    expectTrue(!exists(pictures) && exists(outside + "/keep.jpg"), "the link gone and its target's file kept",
               exists(pictures) ? "the link is still there" : "the target's file was deleted");
}

void queriesHarmless(Context& context) {
    const std::string file = context.directory + "/photo.jpg", missing = context.directory + "/missing.jpg";
    writeFile(file, "0123456789");
    for (const std::string& path : {file, missing, context.directory}) {
        Storage::fileExists_stat(path);
        Storage::fileSize(path);
    }
    std::ifstream in(file, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    expectEqual("the file's content after the queries", "0123456789", content);
    expectTrue(!exists(missing), "no file made by asking about it", "it exists");
}

void queryValues(Context& context) {
    const std::string file = context.directory + "/photo.jpg", missing = context.directory + "/missing.jpg";
    writeFile(file, std::string(12345, 'x'));
    expectTrue(Storage::fileExists_stat(file) && !Storage::fileExists_stat(missing),
               "fileExists_stat true for a file, false for a missing one", "otherwise");
    expectEqual("fileSize of a 12345-byte file", 12345, Storage::fileSize(file));
    expectEqual("fileSize of a missing file", -1, Storage::fileSize(missing));
}

}  // namespace

std::vector<Check> storageChecks() {
    return {
        {"storage.makeDir.trailing-slash", createsWithTrailingSlash, 10},
        {"storage.makeDir.parents", createsParents, 10},
        {"storage.deleteDirectory.contents", removesContents, 10},
        {"storage.makeDir.private", makesPrivateDirectory, 10},
        {"storage.deleteDirectory.links-not-followed", linksNotFollowed, 10},
        {"storage.deleteDirectory.link-itself", removesLinkItself, 10},
        {"storage.queries.harmless", queriesHarmless, 10},
        {"storage.queries.values", queryValues, 10},
    };
}

}  // namespace conformance
