// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "ClientUtils.h"

// Called in a loop that takes record after record off the front of a phonebook export of many
// MB: each call searches from the start only as far as the first pair and erases it in one go.
bool ClientUtils::getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                           const std::string& end) {
    if (begin.empty() || end.empty()) {
        return false;
    }
    const std::size_t beginAt = source.find(begin);
    if (beginAt == std::string::npos) {
        return false;
    }
    const std::size_t contentAt = beginAt + begin.size();
    const std::size_t endAt = source.find(end, contentAt);
    if (endAt == std::string::npos) {
        return false;
    }
    out.assign(source, contentAt, endAt - contentAt);
    source.erase(beginAt, endAt + end.size() - beginAt);
    return true;
}

std::string ClientUtils::itos(int value) {
    return std::to_string(value);
}

std::string ClientUtils::escapeXMLString(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
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
            case '\'':
                escaped += "&apos;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

// Builds the result in one pass instead of replacing in place, which would move the tail of the
// text once per occurrence.
void ClientUtils::replaceSubstringInString(std::string& text, const std::string& search,
                                           const std::string& replacement) {
    if (search.empty()) {
        return;
    }
    std::size_t found = text.find(search);
    if (found == std::string::npos) {
        return;
    }
    std::string result;
    std::size_t copiedUpTo = 0;
    for (; found != std::string::npos; found = text.find(search, copiedUpTo)) {
        result.append(text, copiedUpTo, found - copiedUpTo);
        result += replacement;
        copiedUpTo = found + search.size();
    }
    result.append(text, copiedUpTo, std::string::npos);
    text.swap(result);
}

void ClientUtils::splitFilenameAndPath(const std::string& full, std::string& path, std::string& fileName) {
    const std::size_t slash = full.rfind('/');
    if (slash == std::string::npos) {
        path.clear();
        fileName = full;
        return;
    }
    path = full.substr(0, slash + 1);
    fileName = full.substr(slash + 1);
}
