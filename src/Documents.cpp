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

// Appends `text` between the start and the end tag of `name` to `out`, so that an entry is built
// in place, in the string it ends up in, with no temporary per element.
void appendElement(std::string& out, const char* name, const std::string& text) {
    out.append("<").append(name).append(">").append(text).append("</").append(name).append(">");
}

std::string documentStart(const char* root) {
    std::string start(kXmlDeclaration);
    start.append("<").append(root).append(" xmlns=\"").append(kXsiNamespace).append("\">");
    return start;
}

}  // namespace

std::string callLogsEntry(const std::string& number, const std::string& name, const std::string& time,
                          const std::string& callLogId) {
    std::string entry("<callLogsEntry>");
    appendElement(entry, "phoneNumber", number);
    appendElement(entry, "name", name);
    appendElement(entry, "time", time.substr(0, kCallTimeLength));
    appendElement(entry, "callLogId", callLogId);
    return entry.append("</callLogsEntry>");
}

std::string callLogsDocument(const std::string& placed, const std::string& received, const std::string& missed) {
    std::string document = documentStart("CallLogs");
    appendElement(document, "placed", placed);
    appendElement(document, "received", received);
    appendElement(document, "missed", missed);
    return document.append("</CallLogs>");
}

std::string nameWithPicture(const std::string& name, const std::string& picturePath) {
    return name + "@@@" + picturePath;
}

// Runs once per contact: the tags are joined into as few appends as the values allow.
void appendDirectoryEntry(std::string& entries, const std::string& name, const std::string& number) {
    entries.append("<entry><name>").append(name).append("</name><number>").append(number).append("</number></entry>");
}

std::string personalDocument(std::int32_t entryCount, const std::string& entries) {
    const std::string count = ClientUtils::itos(entryCount);
    std::string document = documentStart("Personal");
    document.reserve(document.size() + entries.size() + 128);  // the counts and the end tag
    appendElement(document, "numberOfRecords", count);
    appendElement(document, "totalAvailableRecords", count);
    return document.append(entries).append("</Personal>");
}

}  // namespace fritzbox_detail
