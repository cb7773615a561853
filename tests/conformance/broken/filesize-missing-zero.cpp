// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A fileSize that says 0 for a file it cannot read.
#include <sys/stat.h>

#include <string>

#include "Storage.h"

std::int64_t Storage::fileSize(std::string path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}
