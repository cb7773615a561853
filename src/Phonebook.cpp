// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "Phonebook.h"

#include "ClientUtils.h"
#include "ExportWalk.h"

namespace fritzbox_detail {

namespace {

const std::string kMultipartBoundary = "----WebKitFormBoundaryPhone";
// The keywords that lack an angle bracket do so on purpose: a start tag with attributes still
// matches, and the end keyword of an element also ends its self-closing form.
const std::string kContactBegin = "<contact";
const std::string kContactEnd = "</contact>";
const std::string kRealNameBegin = "<realName";
const std::string kRealNameEnd = "/realName>";
const std::string kTelephonyBegin = "<telephony";
const std::string kTelephonyEnd = "</telephony>";
const std::string kImageUrlBegin = "<imageURL";
const std::string kImageUrlEnd = "/imageURL>";
const std::string kNumberBegin = "<number";
const std::string kNumberEnd = "/number>";
const std::string kIdZero = "id=\"0\"";
const std::string kContentBegin = ">";
const std::string kContentEnd = "<";
const std::string kFileScheme = "file://";

// The text of the first element between `begin` and `end` in `source`, both extractions
// removing what they found.
bool elementText(std::string& source, const std::string& begin, const std::string& end, std::string& text) {
    std::string fragment;
    return ClientUtils::getStringBetweenKeywords(source, fragment, begin, end) &&
           ClientUtils::getStringBetweenKeywords(fragment, text, kContentBegin, kContentEnd);
}

// A directory entry holds one number: the first number element marked id="0" that has a text.
std::string firstMarkedNumber(const std::string& telephony) {
    std::string number;
    forEachExtraction(telephony, kNumberBegin, kNumberEnd, [&number](std::string& numberElement) {
        return numberElement.find(kIdZero) == std::string::npos ||
               !ClientUtils::getStringBetweenKeywords(numberElement, number, kContentBegin, kContentEnd);
    });
    return number;
}

ContactReading fault(ContactFault why, const std::string& shown) {
    ContactReading reading;
    reading.fault = why;
    reading.shown = shown;
    return reading;
}

}  // namespace

const std::string kPictureDirectory = "/data/images/fritzbox/";
const char* const kExportTarget = "/cgi-bin/firmwarecfg";

std::string exportFormBody(const std::string& sid) {
    const std::string delimiter = "--" + kMultipartBoundary;
    std::string body;
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"sid\"\r\n\r\n");
    body.append(sid).append("\r\n");
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"PhonebookId\"\r\n\r\n");
    body.append("0\r\n");
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"PhonebookExportName\"\r\n\r\n");
    body.append("Telefonbuch\r\n");
    body.append(delimiter).append("\r\nContent-Disposition: form-data; name=\"PhonebookExport\"\r\n\r\n\r\n");
    body.append(delimiter).append("--\r\n");
    return body;
}

std::string exportContentType() {
    return "multipart/form-data; boundary=" + kMultipartBoundary;
}

void forEachContact(const std::string& exportBody, ContactVisitor visit) {
    forEachExtraction(exportBody, kContactBegin, kContactEnd, [&visit](std::string& record) {
        visit(record);
        return true;
    });
}

// The name and the number are read straight into the reading: a contact costs no copies of them.
ContactReading readContact(std::string& record) {
    ContactReading reading;
    if (!elementText(record, kRealNameBegin, kRealNameEnd, reading.name)) {
        return fault(ContactFault::NameMissing, record);
    }
    std::string telephony;
    if (!ClientUtils::getStringBetweenKeywords(record, telephony, kTelephonyBegin, kTelephonyEnd)) {
        return fault(ContactFault::NumbersMissing, record);
    }
    reading.number = firstMarkedNumber(telephony);
    if (reading.number.empty() || reading.number.find('@') != std::string::npos) {
        return fault(ContactFault::NoValidNumber, reading.number);
    }
    return reading;
}

bool readPictureLocation(std::string& record, std::string& location) {
    return elementText(record, kImageUrlBegin, kImageUrlEnd, location);
}

PictureTarget pictureTarget(std::string location) {
    ClientUtils::replaceSubstringInString(location, kFileScheme, "");
    PictureTarget target;
    std::string locationPath;
    ClientUtils::splitFilenameAndPath(location, locationPath, target.fileName);
    target.location = std::move(location);
    return target;
}

std::string photoTarget(const std::string& location, const std::string& sid) {
    return "/lua/photo.lua?photo=" + location + "&sid=" + sid;
}

std::string picturePath(const std::string& fileName) {
    return kPictureDirectory + fileName;
}

}  // namespace fritzbox_detail
