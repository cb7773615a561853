#include "Storage.h"

#include <ftw.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace {

bool isDirectory(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
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

bool Storage::makeDir(const std::string& path) {
    std::error_code ignored;
    std::filesystem::create_directories(path, ignored);
    return !path.empty() && isDirectory(path);
}

// FTW_PHYS reports symbolic links as links, so remove() deletes the link and nothing it points to;
// a link given as `path` itself is removed the same way.
bool Storage::deleteDirectory(const std::string& path) {
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0) {
        return errno == ENOENT;
    }
    if (S_ISDIR(info.st_mode)) {
        ::nftw(path.c_str(), removeEntry, kOpenDirectoryLimit, FTW_PHYS | FTW_DEPTH);
    } else {
        std::remove(path.c_str());
    }
    return ::lstat(path.c_str(), &info) != 0 && errno == ENOENT;
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
