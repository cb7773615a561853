// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once

// Which phone model the software runs on. The three answers are true exactly on the models that
// show contact pictures, false elsewhere; the module asks them in this order, stops at the first
// true, and asks once per contact of an export, so they are cheap, free of side effects and do not
// change while the phone runs. They are static: the module calls them without an object.
class HardwareVersion {
public:
    static bool is_Tern();
    // Any variant of the Gull model.
    static bool is_Gull_any();
    // Any variant of the Wren model.
    static bool is_Wren_any();
};
