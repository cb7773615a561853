// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
#include <string>

// String helpers of the host platform.
class ClientUtils {
public:
    // Finds the first `begin` in `source` and the first `end` after it. On success puts the text
    // strictly between them into `out`, removes that occurrence (from `begin` through `end`) from
    // `source`, keeps the text before and after it, and returns true. Returns false and changes
    // nothing when there is no such pair; an empty `begin` or `end` never matches.
    // The module depends on both halves. The text before the match stays: a contact's picture
    // location stands before its telephony block, which is taken out first. A failed extraction
    // changes neither argument: `out` is the session id or a number, which must not take partial
    // text. The search is byte-exact and case-sensitive; NUL, line breaks and bytes over 0x7f are
    // bytes like any other.
    static bool getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                         const std::string& end);

    // Decimal text of `value`: plain ASCII digits ("1000", never "1.000" or "1,000"), whatever
    // locale the process has set; the directory document's counts are written with it.
    static std::string itos(int value);

    // Copy of `text` with the five XML special characters & < > " ' replaced by their entities;
    // every other byte (control bytes, invalid UTF-8) stays as it is, and `text` is not changed.
    static std::string escapeXMLString(const std::string& text);

    // Replaces every occurrence of `search` (not empty) in `text` by `replacement`, scanning left
    // to right past each replacement. The module removes the leading "file://" of a picture
    // location with it; any bytes may follow.
    static void replaceSubstringInString(std::string& text, const std::string& search, const std::string& replacement);

    // Splits at the last "/": `path` receives everything through that "/", `fileName` the rest.
    // A name without "/" yields an empty path and the whole name as file name; a name ending in
    // "/" yields an empty file name. `fileName` never holds a "/", whatever `full` is ("..",
    // traversal): the module writes the picture under it into its own directory.
    static void splitFilenameAndPath(const std::string& full, std::string& path, std::string& fileName);
};
