// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Pages.h"

namespace routersim {
namespace {

// Rights of the one user the simulator knows: full access to everything, as for a router admin.
const char kFullRights[] =
    "<Rights><Name>Dial</Name><Access>2</Access><Name>App</Name><Access>2</Access>"
    "<Name>HomeAuto</Name><Access>2</Access><Name>BoxAdmin</Name><Access>2</Access>"
    "<Name>Phone</Name><Access>2</Access><Name>NAS</Name><Access>2</Access></Rights>";

std::string escapeXml(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

}  // namespace

std::string sessionInfoXml(const SessionInfo& info) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SessionInfo><SID>" + info.sid + "</SID><Challenge>" +
           info.challenge + "</Challenge><BlockTime>" + std::to_string(info.blockSeconds) + "</BlockTime>" +
           (info.withRights ? kFullRights : "<Rights></Rights>") + "<Users><User last=\"1\">" + escapeXml(info.user) +
           "</User></Users></SessionInfo>";
}

std::string loginPageHtml(const std::string& user) {
    return "<!DOCTYPE html>\n<html lang=\"de\">\n<head><meta charset=\"utf-8\"><title>FRITZ!Box</title></head>\n"
           "<body>\n<h1>Willkommen bei Ihrer FRITZ!Box</h1>\n"
           "<form method=\"post\" action=\"/\">\n"
           "<input type=\"hidden\" name=\"username\" value=\"" +
           escapeXml(user) +
           "\">\n"
           "<label for=\"uiPass\">FRITZ!Box-Kennwort</label>\n"
           "<input type=\"password\" id=\"uiPass\" name=\"password\" autocomplete=\"current-password\">\n"
           "<button type=\"submit\">Anmelden</button>\n</form>\n</body>\n</html>\n";
}

}  // namespace routersim
