// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Whole writes and reads on a pipe or socket, across short counts and interrupted calls.
#include <unistd.h>

#include <cerrno>
#include <string>

namespace conformance {

// False when the descriptor fails or its reader is gone.
inline bool writeAll(int fd, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t now = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (now <= 0 && errno != EINTR) {
            return false;
        }
        done += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    return true;
}

// False when the descriptor ends or fails before `length` bytes came.
inline bool readExactly(int fd, std::string& bytes, std::size_t length) {
    bytes.resize(length);
    for (std::size_t done = 0; done < length;) {
        const ssize_t now = ::read(fd, &bytes[done], length - done);
        if (now <= 0 && errno != EINTR) {
            return false;
        }
        done += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    return true;
}

}  // namespace conformance
