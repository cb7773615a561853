// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A split whose file name starts with the slash that ends the path.
#include "ClientUtils.h"

void ClientUtils::splitFilenameAndPath(const std::string& full, std::string& path, std::string& fileName) {
    const std::size_t slash = full.rfind('/');
    path = slash == std::string::npos ? std::string() : full.substr(0, slash + 1);
    fileName = slash == std::string::npos ? full : full.substr(slash);
}
