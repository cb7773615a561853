// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router replies of replies/*.http, each with the outcome it must have: header fields
// ("name: value", "#" comments), a line "--", then the bytes on the wire, one piece per line without
// its line break; \r \n \t \\ \xHH are escapes, a line "%repeat N TEXT" stands for TEXT N times and
// a last line "%close" hangs up after the bytes ("%reset" with a reset).
//
// Outcome fields: result (complete, more, failure), status, length (announced, -1 for none), body,
// pieces (bytes per read), usable (the connection carries another exchange), redirect-host, log
// (the failure's reason), sent (the target on the wire). Setting fields: request (HEAD), target,
// reads (the reader walks away after so many), pace-ms (the router's pause between pieces).
#include <map>
#include <string>
#include <vector>

namespace replyfiles {

enum class Ending { Open, Close, Reset };

struct ReplyFile {
    std::string name;
    std::map<std::string, std::string> fields;  // escapes decoded
    std::vector<std::string> pieces;
    Ending ending = Ending::Open;

    // True for a row about the socket under the reader: its timing (pace-ms), the request it
    // carries (target, sent) or a reset. Those run over loopback TCP; every other row runs the
    // reader on a scripted byte source.
    bool aboutSockets() const;
    std::string field(const std::string& key) const;
};

std::string decode(const std::string& text);
ReplyFile readReplyFile(const std::string& name);
// The file names without ".http", sorted; `aboutSockets` picks which of the two sets.
std::vector<std::string> replyNames(bool aboutSockets);
// A reply's name as a test name ("-" is not allowed there).
std::string testNameOf(std::string replyName);

}  // namespace replyfiles
