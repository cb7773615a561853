// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A makeDir that makes the last directory only, failing when a parent is missing.
#include <sys/stat.h>

#include <string>

#include "Storage.h"

bool Storage::makeDir(const std::string& path) {
    struct stat status;
    return ::mkdir(path.c_str(), 0755) == 0 || (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode));
}
