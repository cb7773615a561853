// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "HttpMessage.h"

#include <nettle/base64.h>

#include "AsciiText.h"

namespace linux_platform {
namespace http {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

int hexDigitValue(char c) {
    if (isDigit(c)) {
        return c - '0';
    }
    const char lower = detail::toLowerAscii(c);
    return (lower >= 'a' && lower <= 'f') ? lower - 'a' + 10 : -1;
}

// RFC 9110 token characters, which header names consist of.
bool isTokenChar(char c) {
    constexpr std::string_view kSeparators = "()<>@,;:\\\"/[]?={} \t";
    return c > 0x20 && c < 0x7f && kSeparators.find(c) == std::string_view::npos;
}

std::string trimBlanks(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

// Splits a comma-separated list and hands each trimmed, non-empty element to `visit`.
template <typename Visitor>
void forEachListElement(const std::string& list, Visitor visit) {
    std::size_t start = 0;
    while (start <= list.size()) {
        std::size_t comma = list.find(',', start);
        if (comma == std::string::npos) {
            comma = list.size();
        }
        const std::string element = trimBlanks(list.substr(start, comma - start));
        if (!element.empty()) {
            visit(element);
        }
        start = comma + 1;
    }
}

bool startsWithScheme(const std::string& location, std::size_t& authorityStart) {
    const std::size_t separator = location.find("://");
    if (separator == std::string::npos || separator == 0) {
        return false;
    }
    for (std::size_t i = 0; i < separator; ++i) {
        const char c = location[i];
        const bool schemeChar =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '+' || c == '-' || c == '.';
        if (!schemeChar) {
            return false;
        }
    }
    authorityStart = separator + 3;
    return true;
}

// Decimal digits only; values above `limit` are rejected without overflowing.
bool parseDecimal(const std::string& text, std::uint64_t limit, std::uint64_t& value) {
    if (text.empty()) {
        return false;
    }
    value = 0;
    for (const char c : text) {
        if (!isDigit(c)) {
            return false;
        }
        value = value * 10 + static_cast<std::uint64_t>(c - '0');
        if (value > limit) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool isCleanHeadLine(const std::string& line) {
    return line.find_first_of(std::string("\0\r", 2)) == std::string::npos;
}

bool parseStatusLine(const std::string& line, StatusLine& status) {
    // "HTTP/" digit "." digit SP 3digit [SP reason]
    std::uint64_t code = 0;
    if (line.size() < 12 || line.compare(0, 5, "HTTP/") != 0 || !isDigit(line[5]) || line[6] != '.' ||
        !isDigit(line[7]) || line[8] != ' ' || !parseDecimal(line.substr(9, 3), 999, code) ||
        (line.size() > 12 && line[12] != ' ')) {
        return false;
    }
    status.majorVersion = line[5] - '0';
    status.minorVersion = line[7] - '0';
    status.code = static_cast<int>(code);
    return code >= 100;
}

bool isFoldedLine(const std::string& line) {
    return !line.empty() && isBlank(line[0]);
}

void unfoldInto(std::string& fieldLine, const std::string& foldedLine) {
    fieldLine.erase(fieldLine.find_last_not_of(" \t") + 1);
    fieldLine += ' ';
    fieldLine += trimBlanks(foldedLine);
}

bool parseHeaderLine(const std::string& line, std::string& name, std::string& value) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos || colon == 0) {
        return false;
    }
    for (std::size_t i = 0; i < colon; ++i) {
        if (!isTokenChar(line[i])) {
            return false;
        }
    }
    name = line.substr(0, colon);
    value = trimBlanks(line.substr(colon + 1));
    return true;
}

bool parseContentLength(const std::string& value, std::uint64_t limit, std::uint64_t& length) {
    bool valid = !value.empty();
    bool first = true;
    forEachListElement(value, [&](const std::string& element) {
        std::uint64_t parsed = 0;
        valid = valid && parseDecimal(element, limit, parsed) && (first || parsed == length);
        length = parsed;
        first = false;
    });
    return valid && !first;
}

bool parseChunkSize(const std::string& line, std::uint64_t limit, std::uint64_t& size) {
    const std::string digits = trimBlanks(line.substr(0, line.find(';')));
    if (digits.empty()) {
        return false;
    }
    size = 0;
    for (const char c : digits) {
        const int digit = hexDigitValue(c);
        if (digit < 0) {
            return false;
        }
        size = size * 16 + static_cast<std::uint64_t>(digit);
        if (size > limit) {
            return false;
        }
    }
    return true;
}

std::string headerValue(const HeaderMap& headers, std::string_view name) {
    std::string joined;
    for (const auto& header : headers) {
        if (detail::equalsIgnoreCase(header.first, name)) {
            joined += (joined.empty() ? "" : ", ") + header.second;
        }
    }
    return joined;
}

bool hasHeader(const HeaderMap& headers, std::string_view name) {
    for (const auto& header : headers) {
        if (detail::equalsIgnoreCase(header.first, name)) {
            return true;
        }
    }
    return false;
}

bool hasToken(const std::string& list, std::string_view token) {
    bool found = false;
    forEachListElement(list,
                       [&](const std::string& element) { found = found || detail::equalsIgnoreCase(element, token); });
    return found;
}

bool isSoleToken(const std::string& list, std::string_view token) {
    std::size_t count = 0;
    bool matches = false;
    forEachListElement(list, [&](const std::string& element) {
        ++count;
        matches = detail::equalsIgnoreCase(element, token);
    });
    return count == 1 && matches;
}

std::string hostOfLocation(const std::string& location) {
    std::size_t start = 0;
    if (location.compare(0, 2, "//") == 0) {
        start = 2;  // scheme-relative reference
    } else if (!startsWithScheme(location, start)) {
        return std::string();
    }
    std::string authority = location.substr(start, location.find_first_of("/?#", start) - start);
    authority.erase(0, authority.rfind('@') + 1);  // drop user information
    if (!authority.empty() && authority[0] == '[') {
        const std::size_t close = authority.find(']');
        return close == std::string::npos ? std::string() : authority.substr(1, close - 1);
    }
    return authority.substr(0, authority.find(':'));
}

std::string encodeRequestTarget(const std::string& target) {
    constexpr std::string_view kNeedEncoding = "\"<>\\^`{|}";
    static const char kHexDigits[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(target.size());
    for (const char c : target) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20 || byte >= 0x7f || kNeedEncoding.find(c) != std::string_view::npos) {
            encoded += '%';
            encoded += kHexDigits[byte >> 4];
            encoded += kHexDigits[byte & 0x0f];
        } else {
            encoded += c;
        }
    }
    return encoded;
}

std::string base64(const std::string& bytes) {
    std::string encoded(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
    base64_encode_raw(&encoded[0], bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
    return encoded;
}

}  // namespace http
}  // namespace linux_platform
