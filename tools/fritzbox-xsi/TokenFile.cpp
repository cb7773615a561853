// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "TokenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ProgramFiles.h"

namespace host {
namespace {

// The directory part with its slash kept, so that a file in "/" names "/".
std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

// Writes `content`, flushes it to the disk and closes `fd`; 0 or the first errno met.
int writeSyncAndClose(int fd, const std::string& content) {
    int error = 0;
    for (std::size_t done = 0; error == 0 && done < content.size();) {
        const ssize_t wrote = write(fd, content.data() + done, content.size() - done);
        if (wrote > 0) {
            done += static_cast<std::size_t>(wrote);
        } else if (errno != EINTR) {
            error = errno;
        }
    }
    if (error == 0 && fsync(fd) != 0) {
        error = errno;
    }
    if (close(fd) != 0 && error == 0) {
        error = errno;
    }
    return error;
}

// Makes the rename itself durable: without this a power cut can bring the old file back.
void syncDirectory(const std::string& directory) {
    const int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int error = fd < 0 || fsync(fd) != 0 ? errno : 0;
    if (fd >= 0) {
        close(fd);
    }
    if (error != 0) {
        throw TokenFileError("cannot sync directory " + directory + " of the token file: " + std::strerror(error));
    }
}

// A token file named through a symbolic link is replaced where the link points, so that the link
// stays a link; a link that leads nowhere yet names the file to create.
std::string linkTarget(const std::string& path) {
    std::string target = path;
    for (int hops = 0; hops < 40; ++hops) {
        char buffer[4096];
        const ssize_t length = readlink(target.c_str(), buffer, sizeof buffer - 1);
        if (length < 0) {
            return target;
        }
        const std::string next(buffer, static_cast<std::size_t>(length));
        const std::size_t slash = target.rfind('/');
        target = next[0] == '/' || slash == std::string::npos ? next : target.substr(0, slash + 1) + next;
    }
    throw TokenFileError("token file " + path + ": too many levels of symbolic links");
}

// The replaced file keeps the mode of the one it replaces; a new one gets what the umask allows
// of 0666, as a file the shell creates.
mode_t modeFor(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) == 0) {
        return status.st_mode & 07777;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

std::string readToken(const std::string& path) {
    const tools::FileText file = tools::readTextFile(path);
    if (file.error == ENOENT) {
        return "";
    }
    if (file.error != 0) {
        throw TokenFileError("cannot read token file " + path + ": " + tools::describeFileError(file.error));
    }
    return tools::withoutLineEnd(file.text);
}

void writeToken(const std::string& named, const std::string& token) {
    const std::string path = linkTarget(named);
    std::string temporary = path + ".XXXXXX";
    const int fd = mkostemp(&temporary[0], O_CLOEXEC);
    if (fd < 0) {
        throw TokenFileError("cannot create a temporary file beside token file " + path + ": " + std::strerror(errno));
    }
    int error = fchmod(fd, modeFor(path)) != 0 ? errno : 0;
    if (error == 0) {
        error = writeSyncAndClose(fd, token + "\n");
    } else {
        close(fd);
    }
    if (error == 0 && std::rename(temporary.c_str(), path.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(temporary.c_str());
        throw TokenFileError("cannot replace token file " + path + ": " + std::strerror(error));
    }
    syncDirectory(directoryOf(path));
}

}  // namespace host
