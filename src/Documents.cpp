// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Documents.h"

#include "ClientUtils.h"

namespace fritzbox_detail {

namespace {

const char* const kXsiNamespace = "http://schema.broadsoft.com/xsi";
const char* const kXmlDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const std::size_t kCallTimeLength = 19;

// `text` between the start and the end tag of `element`. Appended to one string rather than
// summed: no temporaries, which keeps these helpers small in the phone's library.
std::string element(const char* name, const std::string& text) {
    std::string result("<");
    result.append(name).append(">").append(text).append("</").append(name).append(">");
    return result;
}

std::string documentStart(const char* root) {
    std::string start(kXmlDeclaration);
    start.append("<").append(root).append(" xmlns=\"").append(kXsiNamespace).append("\">");
    return start;
}

}  // namespace

std::string callLogsEntry(const std::string& number, const std::string& name, const std::string& time,
                          const std::string& callLogId) {
    return element("callLogsEntry", element("phoneNumber", number) + element("name", name) +
                                        element("time", time.substr(0, kCallTimeLength)) +
                                        element("callLogId", callLogId));
}

std::string callLogsDocument(const std::string& placed, const std::string& received, const std::string& missed) {
    return documentStart("CallLogs") + element("placed", placed) + element("received", received) +
           element("missed", missed) + "</CallLogs>";
}

std::string nameWithPicture(const std::string& name, const std::string& picturePath) {
    return name + "@@@" + picturePath;
}

std::string directoryEntry(const std::string& name, const std::string& number) {
    return element("entry", element("name", name) + element("number", number));
}

std::string personalDocument(std::int32_t entryCount, const std::string& entries) {
    const std::string count = ClientUtils::itos(entryCount);
    return documentStart("Personal") + element("numberOfRecords", count) + element("totalAvailableRecords", count) +
           entries + "</Personal>";
}

}  // namespace fritzbox_detail
