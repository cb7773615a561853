// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The router model's reading of a request, which every server that hosts the model relies on:
// the request head as the loopback servers take it off the wire, and the query and form fields.
#include <gtest/gtest.h>

#include "RouterRequest.h"

namespace {

using routersim::RequestHead;
using routersim::RouterRequest;

TEST(RequestHeadTest, RequestLineAndFields) {
    const struct {
        std::string head;
        bool parsed;
        std::string seen;  // method|target|version, then name=value per field
    } rows[] = {
        {"GET /a?b=c HTTP/1.1", true, "GET|/a?b=c|HTTP/1.1"},
        {"POST /x HTTP/1.1\r\nHost: fritz.box\r\nContent-Type:  \ttext/xml\r\nno colon\r\nEmpty:", true,
         "POST|/x|HTTP/1.1 Host=fritz.box Content-Type=text/xml Empty="},
        {"GET /with space HTTP/1.1", true, "GET|/with space|HTTP/1.1"},
        {"GET /", false, ""},
        {"GET", false, ""},
        {"\x16\x03\x01 binary", false, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.head);
        RequestHead head;
        ASSERT_EQ(routersim::parseRequestHead(row.head, head), row.parsed);
        if (!row.parsed) {
            continue;
        }
        std::string seen = head.method + "|" + head.target + "|" + head.version;
        for (const auto& [name, value] : head.fields) {
            seen += " " + name + "=" + value;
        }
        EXPECT_EQ(seen, row.seen);
    }
}

TEST(RouterRequestTest, QueryAndFormFields) {
    const std::string form =
        "--b\r\nContent-Disposition: form-data; name=\"sid\"\r\n\r\n0123\r\n"
        "--b\r\nContent-Disposition: form-data; name=PhonebookId\r\n\r\n0\r\n"
        "--b\r\nContent-Disposition: form-data\r\n\r\nnameless\r\n"
        "--b\r\nContent-Disposition: form-data; name=\"PhonebookExport\"\r\n\r\n\r\n--b--\r\n";
    const struct {
        std::string target, contentType, body;
        std::string seen;  // path, then name=value per field, then [name=value] per part
    } rows[] = {
        {"/login_sid.lua", "", "", "/login_sid.lua"},
        {"/p.lua?photo=/a/b%20c.jpg&sid=1+2&flag&=x&%zz=%4", "", "", "/p.lua =x %zz=%4 flag= photo=/a/b c.jpg sid=1 2"},
        {"/login_sid.lua", "application/x-www-form-urlencoded", "username=a%26b&response=r",
         "/login_sid.lua response=r username=a&b"},
        {"/f", "multipart/form-data; boundary=b", form, "/f [PhonebookExport=] [PhonebookId=0] [sid=0123]"},
        {"/f", "multipart/form-data; boundary=\"b\"", form, "/f [PhonebookExport=] [PhonebookId=0] [sid=0123]"},
        {"/f", "multipart/form-data", form, "/f"},
        {"/f", "text/plain", "a=b", "/f"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.target + " " + row.contentType);
        const RouterRequest request = routersim::parseRequest("POST", row.target, row.contentType, row.body);
        std::string seen = request.path;
        for (const auto& [name, value] : request.params) {
            seen += " " + name + "=" + value;
        }
        for (const auto& [name, content] : request.formParts) {
            seen += " [" + name + "=" + content + "]";
        }
        EXPECT_EQ(seen, row.seen);
        EXPECT_EQ(request.target, row.target);
        EXPECT_EQ(request.multipartForm, row.contentType.rfind("multipart/form-data", 0) == 0);
    }
}

}  // namespace
