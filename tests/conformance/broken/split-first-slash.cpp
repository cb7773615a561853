// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A split at the first slash instead of the last: the "file name" of a/b/c.jpg is b/c.jpg.
#include "ClientUtils.h"

void ClientUtils::splitFilenameAndPath(const std::string& full, std::string& path, std::string& fileName) {
    const std::size_t slash = full.find('/');
    path = slash == std::string::npos ? std::string() : full.substr(0, slash + 1);
    fileName = slash == std::string::npos ? full : full.substr(slash + 1);
}
