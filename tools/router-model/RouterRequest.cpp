// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "RouterRequest.h"

#include <algorithm>
#include <cctype>

namespace routersim {
namespace {

int hexValue(char digit) {
    if (std::isdigit(static_cast<unsigned char>(digit))) {
        return digit - '0';
    }
    const int lower = std::tolower(static_cast<unsigned char>(digit));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// "%HH" becomes its byte and "+" a blank; a "%" without two hex digits stays as it is.
std::string decodeField(const std::string& text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
        const int low = high >= 0 ? hexValue(text[i + 2]) : -1;
        if (low >= 0) {
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            decoded += text[i] == '+' ? ' ' : text[i];
        }
    }
    return decoded;
}

// "a=1&b&c=3": each field decoded; one without "=" has an empty value.
void addFields(const std::string& text, std::multimap<std::string, std::string>& params) {
    for (std::size_t start = 0; start < text.size();) {
        std::size_t end = text.find('&', start);
        end = end == std::string::npos ? text.size() : end;
        const std::string field = text.substr(start, end - start);
        if (!field.empty()) {
            const std::size_t equals = field.find('=');
            params.emplace(decodeField(field.substr(0, equals)),
                           equals == std::string::npos ? std::string() : decodeField(field.substr(equals + 1)));
        }
        start = end + 1;
    }
}

// The value of `name=` in a header's parameters ("multipart/form-data; boundary=x", "form-data;
// name=\"sid\""), without quotes; empty when there is none.
std::string headerParameter(const std::string& header, const std::string& name) {
    for (std::size_t at = header.find(';'); at != std::string::npos; at = header.find(';', at + 1)) {
        const std::size_t start = header.find_first_not_of(' ', at + 1);
        if (start == std::string::npos || header.compare(start, name.size() + 1, name + "=") != 0) {
            continue;
        }
        const std::size_t valueStart = start + name.size() + 1;
        if (valueStart < header.size() && header[valueStart] == '"') {
            return header.substr(valueStart + 1, header.find('"', valueStart + 1) - valueStart - 1);
        }
        return header.substr(valueStart, header.find(';', valueStart) - valueStart);
    }
    return "";
}

// One part: its header lines up to an empty line, then the content. Only its name counts here.
void addPart(const std::string& part, std::map<std::string, std::string>& parts) {
    const std::size_t headEnd = part.find("\r\n\r\n");
    if (headEnd == std::string::npos) {
        return;
    }
    const std::string head = part.substr(0, headEnd);
    const std::size_t disposition = head.find("Content-Disposition:");
    if (disposition == std::string::npos) {
        return;
    }
    const std::string dispositionLine = head.substr(disposition, head.find("\r\n", disposition) - disposition);
    const std::string name = headerParameter(dispositionLine, "name");
    if (!name.empty()) {
        parts.emplace(name, part.substr(headEnd + 4));
    }
}

void addParts(const std::string& body, const std::string& boundary, std::map<std::string, std::string>& parts) {
    const std::string delimiter = "--" + boundary;
    std::size_t at = body.find(delimiter);
    while (at != std::string::npos) {
        const std::size_t start = at + delimiter.size();
        if (body.compare(start, 2, "--") == 0) {
            return;  // the closing delimiter
        }
        const std::size_t next = body.find("\r\n" + delimiter, start);
        if (next == std::string::npos || body.compare(start, 2, "\r\n") != 0) {
            return;
        }
        addPart(body.substr(start + 2, next - start - 2), parts);
        at = next + 2;
    }
}

}  // namespace

std::string RouterRequest::param(const std::string& name) const {
    const auto found = params.find(name);
    return found == params.end() ? std::string() : found->second;
}

std::string RouterRequest::part(const std::string& name) const {
    const auto found = formParts.find(name);
    return found == formParts.end() ? std::string() : found->second;
}

bool parseRequestHead(const std::string& head, RequestHead& parsed) {
    const std::size_t lineEnd = std::min(head.find("\r\n"), head.size());
    const std::size_t methodEnd = head.find(' ');
    const std::size_t targetEnd = head.rfind(' ', lineEnd);
    if (methodEnd >= lineEnd || targetEnd == std::string::npos || targetEnd <= methodEnd) {
        return false;
    }
    parsed.method = head.substr(0, methodEnd);
    parsed.target = head.substr(methodEnd + 1, targetEnd - methodEnd - 1);
    parsed.version = head.substr(targetEnd + 1, lineEnd - targetEnd - 1);
    parsed.fields.clear();
    for (std::size_t start = lineEnd + 2; start < head.size() + 2;) {
        const std::size_t end = std::min(head.find("\r\n", start), head.size());
        const std::size_t colon = head.find(':', start);
        if (colon < end) {
            std::string value = head.substr(colon + 1, end - colon - 1);
            value.erase(0, value.find_first_not_of(" \t"));
            parsed.fields.emplace_back(head.substr(start, colon - start), value);
        }
        start = end + 2;
    }
    return true;
}

RouterRequest parseRequest(const std::string& method, const std::string& target, const std::string& contentType,
                           const std::string& body) {
    RouterRequest request;
    request.method = method;
    request.target = target;
    const std::size_t query = target.find('?');
    request.path = target.substr(0, query);
    if (query != std::string::npos) {
        addFields(target.substr(query + 1), request.params);
    }
    const std::string mediaType = contentType.substr(0, contentType.find(';'));
    if (mediaType == "application/x-www-form-urlencoded") {
        addFields(body, request.params);
    } else if (mediaType == "multipart/form-data") {
        request.multipartForm = true;
        const std::string boundary = headerParameter(contentType, "boundary");
        if (!boundary.empty()) {
            addParts(body, boundary, request.formParts);
        }
    }
    return request;
}

}  // namespace routersim
