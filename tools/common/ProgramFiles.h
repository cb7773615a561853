// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Files both programs read the same way: the password file, small state files, and the
// directory the running program was installed or built into.
#include <cstddef>
#include <string>

namespace tools {

// The most a password or token file may hold: both are one short line, and a file that goes on
// (/dev/zero, a log named by mistake) must end in an error, not in exhausted memory.
constexpr std::size_t kMaxSmallFileBytes = 64 * 1024;

struct FileText {
    int error = 0;  // an errno value when the file could not be read (EISDIR for a directory,
                    // EFBIG for one longer than kMaxSmallFileBytes)
    std::string text;
};
// The whole content of the file at `path`, at most kMaxSmallFileBytes.
FileText readTextFile(const std::string& path);

// The reason for a FileText error, in words.
std::string describeFileError(int error);

// `text` without one trailing LF or CR LF, so that a line written on Windows reads like one
// written here.
std::string withoutLineEnd(std::string text);

// The password stored in `path`: its one line, line end removed. Throws std::invalid_argument
// with one line naming the problem when the file is unreadable, a directory, empty or holds
// more than one line (a second line would silently become part of the password).
std::string readPasswordFile(const std::string& path);

// The directory of the running program's executable, without a trailing slash; programs find
// their companions and data relative to it so that an installed tree can be moved as a whole.
std::string executableDirectory();

}  // namespace tools
