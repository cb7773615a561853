// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A deleteDirectory that removes what a shell's * matches: files whose names start with a dot stay,
// and with them the directory.
#include <dirent.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "Storage.h"

bool Storage::deleteDirectory(const std::string& path) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(path, error)) {
        if (entry.path().filename().string()[0] != '.') {
            std::filesystem::remove_all(entry.path(), error);
        }
    }
    return ::rmdir(path.c_str()) == 0;
}
