// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The main job on its default: the router simulator program (installed beside this one) with the
// bundled sample data as a child process, and the module run against it as the phone would.
#include <ostream>
#include <string>

#include "LinuxPlatform.h"

namespace host {

struct DemoOptions {
    std::string dataDirectory;   // empty: the simulator's bundled sample
    std::string model = "tern";  // as named on the command line
};

// Narrates the run with `model` (parsed from options.model) on `out` (documents included); module log lines go to
// stderr. True when both data sets were converted, every picture the directory names was on disk while the module
// object lived and gone after it, and the second round recognised the unchanged router.
bool runDemo(const DemoOptions& options, linux_platform::PhoneModel model, std::ostream& out);

}  // namespace host
