// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The texts the simulated router answers with besides its data: the session-info XML of
// /login_sid.lua and the HTML login page that stands in for data when a session is not valid.
#include <string>

namespace routersim {

struct SessionInfo {
    std::string sid;
    std::string challenge;
    int blockSeconds = 0;
    bool withRights = false;  // a valid session lists the rights of the logged-in user
    std::string user;
};

std::string sessionInfoXml(const SessionInfo& info);
std::string loginPageHtml(const std::string& user);

}  // namespace routersim
