// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// A whole phonebook export through the phonebook unit, as the module reads it on a phone model
// that shows pictures: every contact read, its picture location turned into the stored file, its
// entry built. No entry can be added to or broken by what the router sends, and no picture file
// lies outside the picture directory, whatever its location.
#include <algorithm>

#include "Documents.h"
#include "FuzzHarness.h"
#include "Phonebook.h"

using namespace fritzbox_detail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string exported(reinterpret_cast<const char*>(data), size);
    forEachContact(exported, [](std::string& record) {
        const ContactReading contact = readContact(record);
        if (contact.fault != ContactFault::None) {
            return;
        }
        std::string name = contact.name, location;
        if (readPictureLocation(record, location)) {
            const PictureTarget picture = pictureTarget(location);
            FUZZ_CHECK(picture.fileName.find('/') == std::string::npos);
            name = nameWithPicture(name, picturePath(picture.fileName));
        }
        // One name and one number, neither holding a "<".
        std::string entry;
        appendDirectoryEntry(entry, name, contact.number);
        FUZZ_CHECK(std::count(entry.begin(), entry.end(), '<') == 6);
    });
    // The module cuts contacts and their numbers with the single-pass walk.
    fuzzharness::checkWalkCutsAsRepeatedExtraction(exported, "<contact", "</contact>");
    fuzzharness::checkWalkCutsAsRepeatedExtraction(exported, "<number", "/number>");
    return 0;
}
