// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A fileExists_stat that opens the file for writing to find out, creating it when missing.
#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "Storage.h"

bool Storage::fileExists_stat(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        return false;
    }
    ::close(descriptor);
    return true;
}
