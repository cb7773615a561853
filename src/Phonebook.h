// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The router's phonebook export as values: the export request, the contacts of the answer and,
// per contact, its name, its first usable number and where its picture is. Internal to the module;
// no I/O.
#include <string>

#include "FunctionRef.h"

namespace fritzbox_detail {

// Where contact pictures are stored on the phone; the module object owns the directory.
extern const std::string kPictureDirectory;
extern const char* const kExportTarget;

// The export form: the session in its "sid" field, phonebook 0, named "Telefonbuch"; sent with
// the content type that names its boundary.
std::string exportFormBody(const std::string& sid);
std::string exportContentType();

// Hands `visit` every contact record of an export in document order: the text between "<contact"
// and "</contact>" as repeated extraction from a copy of the export would cut it.
using ContactVisitor = FunctionRef<void(std::string& record)>;
void forEachContact(const std::string& exportBody, ContactVisitor visit);

// Why a contact gives no entry: no realName text, no telephony block, or no number marked
// id="0" with a text that holds no "@".
enum class ContactFault { None, NameMissing, NumbersMissing, NoValidNumber };

struct ContactReading {
    ContactFault fault = ContactFault::None;
    // For NameMissing and NumbersMissing the record as it stood then, for NoValidNumber the
    // number found (empty when none).
    std::string shown;
    std::string name, number;  // as the export wrote them
};
// Reads one contact record's name and number; the record is consumed as it is read (each
// extraction removes what it found).
ContactReading readContact(std::string& record);
// The picture location (the imageURL text) in what readContact left of the record: looked for
// after the number block, as the router's order has it, and only on the phone models that show
// pictures, so that the other models never search a record for it.
bool readPictureLocation(std::string& record, std::string& location);

// A picture location as fetched and stored: without "file://", and the bare file name after its
// last "/", so that no location can name a file outside the picture directory.
struct PictureTarget {
    std::string location;
    std::string fileName;
};
PictureTarget pictureTarget(std::string location);
std::string photoTarget(const std::string& location, const std::string& sid);
std::string picturePath(const std::string& fileName);

}  // namespace fritzbox_detail
