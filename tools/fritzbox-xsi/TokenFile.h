// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The file that keeps a data set's change token between runs of the host, as the phone keeps it
// between refreshes. It is replaced atomically, so a crash or a full disk never leaves a cut
// token that would make the next run skip a changed router.
#include <stdexcept>
#include <string>

namespace host {

// The token file could not be read or replaced; the program ends with its own exit status.
class TokenFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The change token stored in `path`; empty when the file does not exist. Throws TokenFileError
// for any other file that cannot be read (a directory, no permission, longer than a token file
// can be).
std::string readToken(const std::string& path);

// Writes the token to a new file beside `path`, syncs it, renames it over `path` and syncs the
// directory. The new file keeps the old one's mode; a `path` that is a symbolic link is followed,
// and the file it leads to is replaced. Throws TokenFileError on any failure and then leaves no
// temporary file behind.
void writeToken(const std::string& path, const std::string& token);

}  // namespace host
