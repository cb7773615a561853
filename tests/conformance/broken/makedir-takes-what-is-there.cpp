// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A makeDir that is content with whatever stands at the path, as `mkdir -p` is: a link to another
// directory or a directory that everyone can write stays in the picture directory's place.
#include <filesystem>
#include <string>
#include <system_error>

#include "Storage.h"

bool Storage::makeDir(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return std::filesystem::is_directory(path, error);
}
