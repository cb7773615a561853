// An XML escape that takes an & for the start of an entity already written and leaves it bare.
#include "ClientUtils.h"

std::string ClientUtils::escapeXMLString(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
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
