// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "KitRouter.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace conformance {

namespace {

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
    if (headEnd == std::string::npos) {
        // A request line must come first; anything else (TLS records start with 0x16) is no HTTP.
        malformed = !buffer.empty() && !std::isupper(static_cast<unsigned char>(buffer[0]));
        return false;
    }
    routersim::RequestHead head;
    if (!routersim::parseRequestHead(buffer.substr(0, headEnd), head)) {
        malformed = true;
        return false;
    }
    request = {head.method, head.target, head.version, head.fields, {}};
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

// The FritzBox behind the script: the project's router model (tools/router-model) with the
// script's login and data, every challenge and session id the script's. A router that refuses the
// login holds another password than the one the module sends.
routersim::SimulatorOptions modelOptions(const RouterScript& script) {
    routersim::SimulatorOptions options;
    options.user = script.user;
    options.password = script.refuseLogin ? script.password + " (another one)" : script.password;
    options.fixedChallenge = script.challenge;
    options.fixedSessionId = script.sid;
    options.blockFailedLogins = false;
    return options;
}

routersim::RouterData modelData(const RouterScript& script) {
    routersim::RouterData data;
    data.callListCsv = script.callList;
    data.phonebookXml = script.exportXml;
    data.photos = script.photos;
    return data;
}

HttpReply fromModel(const routersim::RouterReply& answer) {
    HttpReply reply{answer.status, HeaderList(answer.headers.begin(), answer.headers.end()), answer.body};
    if (!answer.contentType.empty()) {
        reply.headers.emplace_back("Content-Type", answer.contentType);
    }
    return reply;
}

KitRouter::KitRouter(RouterScript script)
    : m_script(std::move(script)), m_model(modelData(m_script), modelOptions(m_script)) {}

// The script's replies come first, then its faults of the call list and the export, in front of
// the router model; what the model answers gets the script's status, ending or chunks.
HttpReply KitRouter::answer(const HttpRequest& request, const std::string& host) {
    if (!m_script.replies.empty()) {
        HttpReply reply = m_script.replies.front();
        m_script.replies.pop_front();
        return reply;
    }
    const std::string path = request.target.substr(0, request.target.find('?'));
    const bool callList = path == "/fon_num/foncalls_list.lua";
    const bool phonebookExport = path == "/cgi-bin/firmwarecfg";
    if (callList && m_redirectsGiven < m_script.callListRedirects) {
        ++m_redirectsGiven;
        return redirectTo(kRouterHost, request.target);
    }
    if (phonebookExport && host == kRouterHost && !m_script.exportRedirectHost.empty()) {
        return redirectTo(m_script.exportRedirectHost, path);
    }
    const std::size_t listsServed = m_model.stats().callListFetches;
    HttpReply reply = fromModel(m_model.answer(
        routersim::parseRequest(request.method, request.target, request.header("Content-Type"), request.body)));
    if (m_model.stats().callListFetches != listsServed) {
        reply.status = m_script.callListStatus;
        reply.ending = m_script.hangUpAfterCallList ? HttpReply::Ending::HangUp : HttpReply::Ending::Keep;
    }
    if (phonebookExport) {
        reply.chunks = m_script.exportChunks;
    }
    return reply;
}

}  // namespace conformance
