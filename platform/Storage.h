// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
#include <cstdint>
#include <string>

// File system helpers of the host platform.
class Storage {
public:
    // Makes `path` a directory of the calling user that no one else can write, for files that
    // others must not plant or redirect: a real directory (not a link) owned by the effective user,
    // without write permission for group or others. Such a directory already there is kept with
    // its contents. Anything else there is removed first (a link itself, never what it points to;
    // a file; a directory of another user, or one that group or others can write, with everything
    // in it), then a fresh directory is made with mode 0755 (less the umask). Missing parents are
    // created (0777 less the umask); the parents themselves are taken as they are, links included.
    // True when such a directory is there after.
    static bool makeDir(const std::string& path);
    // Deletes `path` with everything below it. Symbolic links are removed, never followed, so
    // nothing outside `path` is touched; that holds for `path` itself, also with a trailing slash.
    // True when nothing of it is left.
    static bool deleteDirectory(const std::string& path);
    // True when something exists at `path` (stat succeeds).
    static bool fileExists_stat(const std::string& path);
    // Size in bytes of the file at `path`; -1 when it cannot be read.
    static std::int64_t fileSize(std::string path);
};
