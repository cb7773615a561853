// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The two ways a login response can be computed from a challenge and a password.
#include <string>

namespace routersim {

enum class LoginForm {
    Module,  // MD5 hex over the bytes of "<challenge>-<password>", each followed by a zero byte
    Router,  // "<challenge>-" + MD5 hex over the UTF-16LE text, code points above 255 as '.'
};

std::string loginResponse(const std::string& challenge, const std::string& password, LoginForm form);

}  // namespace routersim
