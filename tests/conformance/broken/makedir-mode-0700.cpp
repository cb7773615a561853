// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Equivalent: a makeDir that leaves the picture directory readable by its user alone (0700).
#include <sys/stat.h>

#include <string>

#include "Next.h"
#include "Storage.h"

bool Storage::makeDir(const std::string& path) {
    using Make = bool (*)(const std::string&);
    static const Make make =
        nextDefinition<Make>("_ZN7Storage7makeDirERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    return make(path) && ::chmod(path.c_str(), 0700) == 0;
}
