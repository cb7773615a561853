// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "RouterModel.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "Md5.h"

namespace conformance {

namespace {

const char* const kNoSession = "0000000000000000";

// The value of `key` in a query ("a=1&b=2"); empty when it is absent.
std::string queryValue(const std::string& query, const std::string& key) {
    std::istringstream pairs(query);
    for (std::string pair; std::getline(pairs, pair, '&');) {
        if (pair.compare(0, key.size() + 1, key + "=") == 0) {
            return pair.substr(key.size() + 1);
        }
    }
    return "";
}

HttpReply xml(const std::string& body) {
    return HttpReply{200, {{"Content-Type", "text/xml"}}, body};
}

std::string sessionInfo(const std::string& sid, const std::string& challenge) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SessionInfo><SID>" + sid + "</SID><Challenge>" + challenge +
           "</Challenge><BlockTime>0</BlockTime><Rights></Rights></SessionInfo>";
}

HttpReply redirectTo(const std::string& host, const std::string& path) {
    return HttpReply{302, {{"Location", "http://" + host + path}}, "<html>moved</html>"};
}

// The body after the head: by Content-Length, or chunked. False while incomplete.
bool takeBody(const std::string& buffer, std::size_t start, const HttpRequest& request, std::string& body,
              std::size_t& end) {
    if (strcasecmp(request.header("Transfer-Encoding").c_str(), "chunked") != 0) {
        const std::size_t length = std::strtoul(request.header("Content-Length").c_str(), nullptr, 10);
        if (buffer.size() < start + length) {
            return false;
        }
        body = buffer.substr(start, length);
        end = start + length;
        return true;
    }
    body.clear();
    for (std::size_t at = start;;) {
        const std::size_t lineEnd = buffer.find("\r\n", at);
        if (lineEnd == std::string::npos) {
            return false;
        }
        const std::size_t size = std::strtoul(buffer.substr(at, lineEnd - at).c_str(), nullptr, 16);
        if (buffer.size() < lineEnd + 2 + size + 2) {
            return false;
        }
        if (size == 0) {
            end = lineEnd + 4;
            return true;
        }
        body += buffer.substr(lineEnd + 2, size);
        at = lineEnd + 2 + size + 2;
    }
}

}  // namespace

std::string HttpRequest::header(const std::string& name) const {
    const auto found = std::find_if(headers.begin(), headers.end(), [&](const auto& field) {
        return strcasecmp(field.first.c_str(), name.c_str()) == 0;
    });
    return found == headers.end() ? "" : found->second;
}

bool takeRequest(std::string& buffer, HttpRequest& request, bool& malformed) {
    malformed = false;
    const std::size_t headEnd = buffer.find("\r\n\r\n");
    const std::size_t lineEnd = buffer.find("\r\n");
    const std::size_t methodEnd = buffer.find(' ');
    const std::size_t targetEnd = lineEnd == std::string::npos ? std::string::npos : buffer.rfind(' ', lineEnd);
    if (headEnd == std::string::npos) {
        // A request line must come first; anything else (TLS records start with 0x16) is no HTTP.
        malformed = !buffer.empty() && !std::isupper(static_cast<unsigned char>(buffer[0]));
        return false;
    }
    if (methodEnd >= lineEnd || targetEnd <= methodEnd) {
        malformed = true;
        return false;
    }
    request = {buffer.substr(0, methodEnd),
               buffer.substr(methodEnd + 1, targetEnd - methodEnd - 1),
               buffer.substr(targetEnd + 1, lineEnd - targetEnd - 1),
               {},
               {}};
    for (std::size_t start = lineEnd + 2, end; start < headEnd + 2; start = end + 2) {
        end = buffer.find("\r\n", start);
        const std::size_t colon = buffer.find(':', start);
        if (colon < end) {
            std::string value = buffer.substr(colon + 1, end - colon - 1);
            value.erase(0, value.find_first_not_of(" \t"));
            request.headers.emplace_back(buffer.substr(start, colon - start), value);
        }
    }
    std::size_t end = 0;
    if (!takeBody(buffer, headEnd + 4, request, request.body, end)) {
        return false;
    }
    buffer.erase(0, end);
    return true;
}

std::string wireBytes(const HttpReply& reply) {
    if (!reply.raw.empty() || reply.status == 0) {
        return reply.raw;
    }
    std::string bytes = "HTTP/1.1 " + std::to_string(reply.status) + " Kit\r\n";
    for (const auto& [name, value] : reply.headers) {
        bytes += name + ": " + value + "\r\n";
    }
    if (!reply.chunks.empty()) {
        bytes += "Transfer-Encoding: chunked\r\n";
    } else if (!reply.untilClose) {
        bytes += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    }
    bytes += reply.ending == HttpReply::Ending::Close ? "Connection: close\r\n\r\n" : "\r\n";
    if (reply.chunks.empty()) {
        return bytes + reply.body;
    }
    char size[32];
    for (std::size_t at = 0, piece = 0; at < reply.body.size(); ++piece) {
        const std::size_t length =
            std::min(reply.chunks[std::min(piece, reply.chunks.size() - 1)], reply.body.size() - at);
        std::snprintf(size, sizeof size, "%zx\r\n", length);
        bytes += size + reply.body.substr(at, length) + "\r\n";
        at += length;
    }
    return bytes + "0\r\n\r\n";
}

RouterScript replying(std::deque<HttpReply> replies) {
    RouterScript script;
    script.replies = std::move(replies);
    return script;
}

std::string grantedLoginResponse(const std::string& challenge, const std::string& password) {
    const std::string input = challenge + "-" + password;
    std::string widened;
    for (const char byte : input) {
        widened += byte;
        widened += '\0';
    }
    return md5Hex(widened);
}

HttpReply RouterModel::answer(const HttpRequest& request, const std::string& host) {
    if (!m_script.replies.empty()) {
        HttpReply reply = m_script.replies.front();
        m_script.replies.pop_front();
        return reply;
    }
    const std::size_t question = request.target.find('?');
    const std::string path = request.target.substr(0, question);
    const std::string query = question == std::string::npos ? "" : request.target.substr(question + 1);
    if (path == "/login_sid.lua") {
        return login(query);
    }
    if (path == "/fon_num/foncalls_list.lua") {
        return callList(query);
    }
    if (path == "/cgi-bin/firmwarecfg" && request.method == "POST") {
        return phonebookExport(request, host);
    }
    if (path == "/lua/photo.lua") {
        return photo(query);
    }
    return HttpReply{404, {}, "<html>not found</html>"};
}

HttpReply RouterModel::login(const std::string& query) const {
    // The first step of a login and a logout both learn the challenge and no session.
    if (query.find("response=") == std::string::npos) {
        return xml(sessionInfo(kNoSession, m_script.challenge));
    }
    const bool granted = !m_script.refuseLogin && queryValue(query, "username") == m_script.user &&
                         queryValue(query, "response") == grantedLoginResponse(m_script.challenge, m_script.password);
    return xml(sessionInfo(granted ? m_script.sid : kNoSession, m_script.challenge));
}

HttpReply RouterModel::callList(const std::string& query) {
    if (queryValue(query, "sid") != m_script.sid) {
        return HttpReply{403, {}, "no session"};
    }
    if (m_redirectsGiven < m_script.callListRedirects) {
        ++m_redirectsGiven;
        return redirectTo(kRouterHost, "/fon_num/foncalls_list.lua?" + query);
    }
    HttpReply reply{m_script.callListStatus, {{"Content-Type", "text/csv"}}, m_script.callList};
    if (m_script.hangUpAfterCallList) {
        reply.ending = HttpReply::Ending::HangUp;
    }
    return reply;
}

HttpReply RouterModel::phonebookExport(const HttpRequest& request, const std::string& host) const {
    if (host == kRouterHost && !m_script.exportRedirectHost.empty()) {
        return redirectTo(m_script.exportRedirectHost, "/cgi-bin/firmwarecfg");
    }
    if (request.body.find("name=\"sid\"\r\n\r\n" + m_script.sid + "\r\n") == std::string::npos) {
        return HttpReply{403, {}, "no session"};
    }
    HttpReply reply = xml(m_script.exportXml);
    reply.chunks = m_script.exportChunks;
    return reply;
}

HttpReply RouterModel::photo(const std::string& query) const {
    const auto found = m_script.photos.find(queryValue(query, "photo"));
    if (queryValue(query, "sid") != m_script.sid || found == m_script.photos.end()) {
        return HttpReply{404, {}, "no photo"};
    }
    return HttpReply{200, {{"Content-Type", "image/jpeg"}}, found->second};
}

}  // namespace conformance
