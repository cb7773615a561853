#pragma once
#include <string>

// String helpers of the host platform.
class ClientUtils {
public:
    // Finds the first `begin` in `source` and the first `end` after it. On success puts the text
    // strictly between them into `out`, removes that occurrence (from `begin` through `end`) from
    // `source`, keeps the text before and after it, and returns true. Returns false and changes
    // nothing when there is no such pair; an empty `begin` or `end` never matches.
    static bool getStringBetweenKeywords(std::string& source, std::string& out, const std::string& begin,
                                         const std::string& end);

    // Decimal text of `value`.
    static std::string itos(int value);

    // Copy of `text` with the five XML special characters & < > " ' replaced by their entities.
    static std::string escapeXMLString(const std::string& text);

    // Replaces every occurrence of `search` (not empty) in `text` by `replacement`, scanning left
    // to right past each replacement.
    static void replaceSubstringInString(std::string& text, const std::string& search, const std::string& replacement);

    // Splits at the last "/": `path` receives everything through that "/", `fileName` the rest.
    // A name without "/" yields an empty path and the whole name as file name; a name ending in
    // "/" yields an empty file name.
    static void splitFilenameAndPath(const std::string& full, std::string& path, std::string& fileName);
};
