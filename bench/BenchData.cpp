// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "BenchData.h"

#include <cstdio>
#include <vector>

#include "ModelRouter.h"

namespace benchdata {
namespace {

const char* const kPhotoDirectory = "/var/media/ftp/FRITZ/fonpix/";
const std::size_t kPhotoCount = 8;
const std::size_t kPhotoBytes = 250;

const char* const kFirstNames[] = {"Anna",   "Jürgen", "Bärbel", "Klaus", "Lena",   "Ömer", "Sabine",
                                   "Tobias", "Grete",  "Heinz",  "Maria", "Stefan", "Zoë",  "Paul"};
const char* const kLastNames[] = {"Beispiel", "Müller", "Kühn",     "Groß",    "Yılmaz", "Schneider",
                                  "Weiß",     "Becker", "Hoffmann", "Schäfer", "Neumann"};
const char* const kCompanies[] = {"Schmidt & Söhne GmbH", "Pizzeria Bella Napoli", "Praxis Dr. Wolf",
                                  "Autohaus Krause & Co"};
const char* const kNumberTypes[] = {"home", "mobile", "work", "fax_work"};
const char* const kCallTypes[] = {"1", "2", "4", "1", "3", "4", "2", "10"};

template <typename T, std::size_t N>
const T& pick(const T (&values)[N], std::size_t index) {
    return values[index % N];
}

// Every fifth contact is a company; the others get a first and last name. Plain text, as the call
// list carries it.
std::string contactName(std::size_t index) {
    if (index % 5 == 4) {
        return pick(kCompanies, index / 5);
    }
    return std::string(pick(kFirstNames, index)) + " " + pick(kLastNames, index / 3);
}

// Numbers of several formats, different for every contact and number slot.
std::string phoneNumber(std::size_t index, std::size_t slot) {
    char text[32];
    const unsigned long digits = static_cast<unsigned long>((index * 7919 + slot * 104729) % 9000000 + 1000000);
    switch ((index + slot) % 4) {
        case 0:
            std::snprintf(text, sizeof text, "030%lu", digits);
            break;
        case 1:
            std::snprintf(text, sizeof text, "0171%lu", digits);
            break;
        case 2:
            std::snprintf(text, sizeof text, "0351 %lu", digits);
            break;
        default:
            std::snprintf(text, sizeof text, "+49 (30) %lu", digits);
    }
    return text;
}

// One <number> element; `quickdial` adds the speed-dial attributes some numbers carry.
std::string numberElement(const char* type, std::size_t id, bool quickdial, std::size_t index,
                          const std::string& number) {
    std::string element = std::string("<number type=\"") + type + "\" prio=\"" + (id == 0 ? "1" : "0") + "\" id=\"" +
                          std::to_string(id) + "\"";
    if (quickdial) {
        element += " quickdial=\"" + std::to_string(index % 100) + "\" vanity=\"\"";
    }
    return element + ">" + number + "</number>";
}

// One to three numbers; the one marked id="0" comes first, second or last.
std::string numberElements(std::size_t index) {
    const std::size_t count = 1 + index % 3;
    const std::size_t placement = index / 3 % 3;
    const std::size_t primarySlot = placement == 0 ? 0 : (placement == 1 ? count - 1 : (count > 1 ? 1 : 0));
    std::string elements;
    std::size_t nextId = 1;
    for (std::size_t slot = 0; slot < count; ++slot) {
        const std::size_t id = slot == primarySlot ? 0 : nextId++;
        elements += numberElement(pick(kNumberTypes, index + slot), id, slot == 1 && index % 2 == 0, index,
                                  phoneNumber(index, slot));
    }
    return elements;
}

// Three in five contacts have an e-mail address, one in ten a second one.
std::string emailElements(std::size_t index) {
    if (index % 5 == 1 || index % 5 == 2) {
        return "<services />";
    }
    std::string elements =
        "<services><email classifier=\"private\" id=\"0\">contact" + std::to_string(index) + "@example.org</email>";
    if (index % 10 == 0) {
        elements += "<email classifier=\"business\" id=\"1\">c" + std::to_string(index) + "@firma.example</email>";
    }
    return elements + "</services>";
}

// The export writes "&" as "&amp;"; no generated name holds another character XML escapes.
std::string xmlText(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '&' ? std::string("&amp;") : std::string(1, c);
    }
    return escaped;
}

std::string photoPath(std::size_t photo) {
    return kPhotoDirectory + std::to_string(photo + 1) + ".jpg";
}

std::string imageElement(std::size_t index) {
    if (index % 4 != 0) {
        return "";
    }
    return "<imageURL>file://" + photoPath(index / 4 % kPhotoCount) + "</imageURL>";
}

// "dd.mm.yy HH:MM" some time before 15.03.24 23:59, later records further back (within 2024).
std::string callDate(std::size_t index) {
    static const int kMonthStarts[] = {0, 31, 60, 91};  // day of year of Jan 1, Feb 1, Mar 1, Apr 1
    const long kLatestMinute = (31 + 29 + 14) * 1440L + 1439;
    const long minute = kLatestMinute - static_cast<long>(index * 97 % (70 * 1440));
    const int dayOfYear = static_cast<int>(minute / 1440);
    int month = 0;
    while (dayOfYear >= kMonthStarts[month + 1]) {
        ++month;
    }
    char text[24];
    std::snprintf(text, sizeof text, "%02d.%02d.24 %02d:%02d", dayOfYear - kMonthStarts[month] + 1, month + 1,
                  static_cast<int>(minute % 1440 / 60), static_cast<int>(minute % 60));
    return text;
}

// Name and number fields: withheld callers, unknown callers, "number (kind)" names and plain ones.
std::string callParty(std::size_t index) {
    const std::string number = phoneNumber(index, 0);
    if (index % 11 == 5) {
        return ";";
    }
    if (index % 13 == 6) {
        return ";Unbekannt";
    }
    if (index % 7 == 3) {
        return ";" + number;
    }
    if (index % 9 == 2) {
        const std::string digits = "0176" + std::to_string(1000000 + index % 9000000);
        return digits + " (Mobil);" + digits;
    }
    return contactName(index) + ";" + number;
}

// One call-list line, without its line end.
std::string callListRecord(std::size_t index) {
    return std::string(pick(kCallTypes, index)) + ";" + callDate(index) + ";" + callParty(index) +
           ";Küche;9876543;0:" + std::to_string(10 + index % 50);
}

}  // namespace

std::string callListCsv(std::size_t records) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < records; ++i) {
        lines.push_back(callListRecord(i));
    }
    return testsupport::callListBody(lines);
}

std::string phonebookRecord(std::size_t index) {
    return "><category>" + std::to_string(index % 7 == 0 ? 1 : 0) + "</category><person><realName>" +
           xmlText(contactName(index)) + "</realName>" + imageElement(index) + "</person><telephony nid=\"" +
           std::to_string(1 + index % 3) + "\">" + numberElements(index) + "</telephony>" + emailElements(index) +
           "<setup /><mod_time>" + std::to_string(1700000000 + index * 3607) + "</mod_time><uniqueid>" +
           std::to_string(index + 1) + "</uniqueid>";
}

std::string phonebookExport(std::size_t contacts) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<phonebooks>\n<phonebook name=\"Telefonbuch\">\n";
    for (std::size_t i = 0; i < contacts; ++i) {
        xml += "<contact" + phonebookRecord(i) + "</contact>\n";
    }
    return xml + "</phonebook>\n</phonebooks>\n";
}

int entryCount(const std::string& document) {
    int entries = 0;
    for (std::size_t at = document.find("<entry>"); at != std::string::npos; at = document.find("<entry>", at + 1)) {
        ++entries;
    }
    return entries;
}

std::map<std::string, std::string> photos() {
    std::map<std::string, std::string> result;
    for (std::size_t photo = 0; photo < kPhotoCount; ++photo) {
        std::string bytes = "\xFF\xD8\xFF\xE0";
        bytes.resize(kPhotoBytes - 2, static_cast<char>('A' + photo));
        result[photoPath(photo)] = bytes + "\xFF\xD9";
    }
    return result;
}

}  // namespace benchdata
