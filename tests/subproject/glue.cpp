// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// What a firmware's loader does with the module: construct the client and ask for a document.
#include "FritzBox.h"

std::string firmwareDirectory() {
    FritzBox box("admin", "secret");
    return box.getData(Broadsoft::Filters::Personal);
}
