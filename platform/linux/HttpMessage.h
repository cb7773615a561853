// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Parsing and formatting pieces of HTTP/1.1 messages, free of any I/O.
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace linux_platform {
namespace http {

// Header fields by name, as HttpClientIfc hands them over (the same type as its HeaderMap).
using HeaderMap = std::multimap<std::string, std::string>;

struct StatusLine {
    int majorVersion = 0;
    int minorVersion = 0;
    int code = 0;
};

// True when a line of a head holds neither NUL nor a CR (its line end already taken off): either
// would cut or hide what follows in whatever reads the value later.
bool isCleanHeadLine(const std::string& line);
// "HTTP/1.1 200 OK" (the reason may be empty or missing); the code must be 100..999.
bool parseStatusLine(const std::string& line, StatusLine& status);
// True for a line that continues the field line before it (obsolete line folding): it starts with
// a blank or a tab.
bool isFoldedLine(const std::string& line);
// Appends a folded line to its field line, the fold and the blanks around it replaced by one blank.
void unfoldInto(std::string& fieldLine, const std::string& foldedLine);
// "Name: value" with a token as name; the value loses its surrounding blanks.
bool parseHeaderLine(const std::string& line, std::string& name, std::string& value);
// A Content-Length value. Repeated headers arrive joined as "5, 5"; they must all agree. Values
// above `limit` are rejected without overflowing.
bool parseContentLength(const std::string& value, std::uint64_t limit, std::uint64_t& length);
// A chunk-size line: hexadecimal size, optionally followed by ";extensions". Sizes above `limit`
// are rejected without overflowing.
bool parseChunkSize(const std::string& line, std::uint64_t limit, std::uint64_t& size);

// The values of all headers called `name` (compared without case), joined with ", ".
std::string headerValue(const HeaderMap& headers, std::string_view name);
bool hasHeader(const HeaderMap& headers, std::string_view name);
// True when the comma-separated `list` holds `token` (compared without case).
bool hasToken(const std::string& list, std::string_view token);
// True when the comma-separated `list` holds `token` and nothing else (compared without case).
bool isSoleToken(const std::string& list, std::string_view token);

// The host named by a Location value: "http://host:8080/x" -> "host", "http://[::1]/" -> "::1";
// empty for a relative reference.
std::string hostOfLocation(const std::string& location);

// `target` with every byte that may not stand in a request target percent-encoded: blanks,
// control bytes, bytes above 0x7E and " < > \ ^ ` { | }. Everything else, '%' included, stays as it
// is, so a target that is already encoded is not encoded twice.
std::string encodeRequestTarget(const std::string& target);

std::string base64(const std::string& bytes);

}  // namespace http
}  // namespace linux_platform
