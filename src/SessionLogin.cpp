// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "SessionLogin.h"

#include "ClientUtils.h"
#include "Cryptographer.h"

namespace fritzbox_detail {

namespace {

const char* const kNoSession = "0000000000000000";
const std::string kChallengeBegin = "<Challenge>";
const std::string kChallengeEnd = "</Challenge>";
const std::string kSidBegin = "<SID>";
const std::string kSidEnd = "</SID>";

}  // namespace

const char* const kLoginPath = "/login_sid.lua";

bool sessionIsValid(const std::string& sid) {
    return !sid.empty() && !namesNoSession(sid);
}

bool namesNoSession(const std::string& sid) {
    return sid.find(kNoSession) != std::string::npos;
}

bool readChallenge(std::string& page, std::string& value) {
    return ClientUtils::getStringBetweenKeywords(page, value, kChallengeBegin, kChallengeEnd);
}

bool readSessionId(std::string& page, std::string& value) {
    return ClientUtils::getStringBetweenKeywords(page, value, kSidBegin, kSidEnd);
}

std::string loginResponse(const std::string& challenge, const std::string& password) {
    const std::string input = challenge + "-" + password;
    std::string widened(input.length() * 2, '\0');
    for (std::size_t i = 0; i < input.length(); ++i) {
        widened[2 * i] = input[i];
    }
    const Cryptographer cryptographer;
    return cryptographer.md5(widened);
}

std::string loginTarget(const std::string& username, const std::string& response) {
    return std::string(kLoginPath) + "?username=" + username + "&response=" + response;
}

std::string logoutTarget(const std::string& sid) {
    return std::string(kLoginPath) + "?logout=&sid=" + sid;
}

}  // namespace fritzbox_detail
