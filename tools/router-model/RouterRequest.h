// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A request as the router model sees it: method, path and the fields of its query and form, taken
// out of the HTTP message by whichever server hosts the model.
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace routersim {

struct RouterRequest {
    std::string method;
    std::string target;                              // as it arrived, query included
    std::string path;                                // the target without its query
    std::multimap<std::string, std::string> params;  // query and URL-encoded form fields, decoded
    bool multipartForm = false;                      // the body is multipart/form-data
    std::map<std::string, std::string> formParts;    // its parts' contents by name
    bool newConnection = false;                      // the first request on its connection
    std::string peer;                                // the client's address, for the request log

    bool hasParam(const std::string& name) const { return params.count(name) != 0; }
    // The first value of `name`; empty when there is none.
    std::string param(const std::string& name) const;
    bool hasPart(const std::string& name) const { return formParts.count(name) != 0; }
    std::string part(const std::string& name) const;
};

// The head of a request as it came on the wire (the text before its empty line): the request line's
// three parts and the header fields in order, names as sent, values without leading blanks; a
// line without a colon is passed over. The loopback servers that host the model read it so.
struct RequestHead {
    std::string method, target, version;
    std::vector<std::pair<std::string, std::string>> fields;
};
// False when the request line is not "METHOD TARGET VERSION".
bool parseRequestHead(const std::string& head, RequestHead& parsed);

// Reads the target's query and, by its content type, a URL-encoded or multipart body into the
// request's fields. Percent escapes and "+" are decoded as a web server does; a part without a
// name, or a multipart body without its boundary, adds nothing.
RouterRequest parseRequest(const std::string& method, const std::string& target, const std::string& contentType,
                           const std::string& body);

}  // namespace routersim
