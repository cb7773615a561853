// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ProgramFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace tools {
namespace {

// Reads until end of file; false with errno set on a read error or when the file holds more
// than kMaxSmallFileBytes (EFBIG).
bool readAll(int fd, std::string& text) {
    char buffer[4096];
    for (;;) {
        const ssize_t got = read(fd, buffer, sizeof buffer);
        if (got == 0) {
            return true;
        }
        if (got < 0 && errno != EINTR) {
            return false;
        }
        if (got > 0) {
            text.append(buffer, static_cast<std::size_t>(got));
        }
        if (text.size() > kMaxSmallFileBytes) {
            errno = EFBIG;
            return false;
        }
    }
}

}  // namespace

FileText readTextFile(const std::string& path) {
    FileText result;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status;
    if (fd < 0 || fstat(fd, &status) != 0) {
        result.error = errno;
    } else if (S_ISDIR(status.st_mode)) {
        result.error = EISDIR;
    } else if (!readAll(fd, result.text)) {
        result.error = errno;
    }
    if (fd >= 0) {
        close(fd);
    }
    if (result.error != 0) {
        result.text.clear();
    }
    return result;
}

std::string describeFileError(int error) {
    if (error == EFBIG) {
        return "longer than " + std::to_string(kMaxSmallFileBytes) + " bytes";
    }
    return std::strerror(error);
}

std::string withoutLineEnd(std::string text) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
        if (!text.empty() && text.back() == '\r') {
            text.pop_back();
        }
    }
    return text;
}

std::string readPasswordFile(const std::string& path) {
    const FileText file = readTextFile(path);
    const std::string problem = "--password-file " + path + ": ";
    if (file.error != 0) {
        throw std::invalid_argument(problem + describeFileError(file.error));
    }
    const std::string password = withoutLineEnd(file.text);
    if (password.empty()) {
        throw std::invalid_argument(problem + "holds no password");
    }
    if (password.find('\n') != std::string::npos) {
        throw std::invalid_argument(problem + "holds more than one line");
    }
    return password;
}

std::string executableDirectory() {
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0) {
        throw std::runtime_error(std::string("cannot find this program's own file: ") + std::strerror(errno));
    }
    const std::string executable(path, static_cast<std::size_t>(length));
    return executable.substr(0, executable.rfind('/'));
}

}  // namespace tools
