// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router's session login as values: the session info page's fields, the challenge response
// and the login and logout targets. Internal to the module; no I/O.
#include <string>

namespace fritzbox_detail {

extern const char* const kLoginPath;

// True when `sid` names a session: not empty and nowhere the router's sixteen zeros.
bool sessionIsValid(const std::string& sid);
// True when `sid` holds the router's "no session" value (sixteen zeros); false for an empty one.
bool namesNoSession(const std::string& sid);

// Takes the text between <Challenge> and </Challenge> (or <SID> and </SID>) out of a session info
// page into `value`; false when the page has none (`value` then holds what the platform's
// extraction left in it).
bool readChallenge(std::string& page, std::string& value);
bool readSessionId(std::string& page, std::string& value);

// The login response: MD5 over `challenge-password` with every byte widened to a 16-bit
// little-endian unit (no character decoding), the digest alone.
std::string loginResponse(const std::string& challenge, const std::string& password);

std::string loginTarget(const std::string& username, const std::string& response);
std::string logoutTarget(const std::string& sid);

}  // namespace fritzbox_detail
