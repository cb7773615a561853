// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A deleteDirectory that hands the path to remove_all as it came: with the module's trailing slash
// a link in the directory's place resolves to its target, whose files are deleted, and the link
// itself stays.
#include <filesystem>
#include <string>
#include <system_error>

#include "Storage.h"

bool Storage::deleteDirectory(const std::string& path) {
    std::error_code error;
    std::filesystem::remove_all(path, error);
    return !std::filesystem::exists(std::filesystem::symlink_status(path, error));
}
