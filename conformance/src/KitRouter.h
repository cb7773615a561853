// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The kit's router, without any transport: a request goes in, the reply comes out. It answers
// the requests of a FritzBox's web interface that the module makes (login, call list, phonebook
// export, photos) through the project's router model (tools/router-model, shipped with the kit),
// set up from a script that each check writes, with the script's faults in front; and it plays
// the scripted raw replies of the HTTP checks. LoopbackRouter serves it on loopback TCP.
#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "RouterModel.h"

namespace conformance {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

// The router's name, which the module always asks, and the second host a redirect may lead to.
constexpr const char* kRouterHost = "fritz.box";
constexpr const char* kOtherHost = "other.test";

struct HttpRequest {
    std::string method, target, version;
    HeaderList headers;
    std::string body;

    // The first header called `name` (compared without case); empty when there is none.
    std::string header(const std::string& name) const;
};

// Takes the first complete request off the front of `buffer`. False while it is incomplete, or
// with `malformed` set when the bytes are no HTTP request (TLS, garbage).
bool takeRequest(std::string& buffer, HttpRequest& request, bool& malformed);

struct HttpReply {
    enum class Ending {
        Keep,    // keep-alive
        Close,   // "Connection: close", then an orderly close
        HangUp,  // an orderly close without announcing it (a router dropping an idle connection)
        Reset,   // a reset after the bytes
        Silent   // no reply at all; the connection stays open
    };
    int status = 200;  // 0: no reply but `raw` (nothing when that is empty)
    HeaderList headers{};
    std::string body{};
    std::vector<std::size_t> chunks{};  // not empty: chunked, in pieces of these sizes (the last one repeats)
    bool untilClose = false;            // no length: the body ends where the router hangs up
    Ending ending = Ending::Keep;
    std::string raw{};  // not empty: these bytes instead of status, headers and body
};

std::string wireBytes(const HttpReply& reply);

// What a check sets up before its router starts.
struct RouterScript {
    std::string user = "kit";
    std::string password =
        "\xc3\xa4"
        "bc";  // "äbc": two bytes of UTF-8 that the login digest widens one by one
    std::string challenge = "1234567z";
    std::string sid = "5f3c1b2a9d8e7f60";
    bool refuseLogin = false;
    std::string callList{};
    int callListStatus = 200;
    int callListRedirects = 0;  // the call list is first answered this often with a 302 back to fritz.box
    bool hangUpAfterCallList = false;
    std::string exportXml{};
    std::vector<std::size_t> exportChunks{};
    std::string exportRedirectHost{};             // set: an export reaching fritz.box is redirected there
    std::map<std::string, std::string> photos{};  // router path as the photo request names it, decoded -> bytes
    std::deque<HttpReply> replies{};              // answered in order, before anything above
};

// A script that answers with `replies`, in order.
RouterScript replying(std::deque<HttpReply> replies = {});

class KitRouter {
public:
    explicit KitRouter(RouterScript script);
    // The reply to `request`, which reached the router's listener for `host`.
    HttpReply answer(const HttpRequest& request, const std::string& host);

private:
    RouterScript m_script;
    routersim::RouterModel m_model;
    int m_redirectsGiven = 0;
};

}  // namespace conformance
