// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Storage.h"

#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace {

// A trailing slash makes the kernel follow a link named by the last component, so every check
// and removal names the link itself. No path is shortened beyond its slashes ("/" becomes empty,
// which names nothing): a slip here must never widen a removal.
std::string withoutTrailingSlashes(std::string path) {
    return path.erase(path.find_last_not_of('/') + 1);
}

// A directory, not a link, of the effective user that neither group nor others can write.
bool isPrivateDirectory(const std::string& path) {
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() &&
           (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// nftw visits children before their directory (FTW_DEPTH), so each directory is empty when
// remove() reaches it. Failures do not stop the walk: the caller checks what is left.
int removeEntry(const char* path, const struct stat*, int, struct FTW*) {
    std::remove(path);
    return 0;
}

// The number of directory streams nftw may keep open while it descends.
constexpr int kOpenDirectoryLimit = 16;

}  // namespace

// What is found in the way is removed rather than refused: the path is the caller's alone.
bool Storage::makeDir(const std::string& path) {
    const std::string directory = withoutTrailingSlashes(path);
    if (isPrivateDirectory(directory)) {
        return true;
    }
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(directory).parent_path(), ignored);
    deleteDirectory(directory);
    ::mkdir(directory.c_str(), 0755);
    return isPrivateDirectory(directory);
}

// FTW_PHYS reports symbolic links as links, so remove() deletes the link and nothing it points to;
// a link given as `path` itself is removed the same way.
bool Storage::deleteDirectory(const std::string& path) {
    const std::string target = withoutTrailingSlashes(path);
    struct stat info;
    if (::lstat(target.c_str(), &info) != 0) {
        return errno == ENOENT;
    }
    if (S_ISDIR(info.st_mode)) {
        ::nftw(target.c_str(), removeEntry, kOpenDirectoryLimit, FTW_PHYS | FTW_DEPTH);
    } else {
        std::remove(target.c_str());
    }
    return ::lstat(target.c_str(), &info) != 0 && errno == ENOENT;
}

bool Storage::fileExists_stat(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

std::int64_t Storage::fileSize(std::string path) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return -1;
    }
    return static_cast<std::int64_t>(info.st_size);
}
