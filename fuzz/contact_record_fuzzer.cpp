// One phonebook contact through the module's conversion (handleSinglePhonebookRecord), on a
// phone model without pictures: keyword cutting only, no network.
#include "FuzzHarness.h"

namespace {

const std::string kNameOpen = "<entry><name>";
const std::string kNameClose = "</name><number>";
const std::string kEntryClose = "</number></entry>";

// The one entry a contact may add, split into name and number; false when it is not of the form
// the directory document needs.
bool splitEntry(const std::string& entry, std::string& name, std::string& number) {
    const std::size_t nameEnd = entry.find(kNameClose);
    if (entry.compare(0, kNameOpen.size(), kNameOpen) != 0 || nameEnd == std::string::npos ||
        entry.size() < nameEnd + kNameClose.size() + kEntryClose.size() ||
        entry.compare(entry.size() - kEntryClose.size(), kEntryClose.size(), kEntryClose) != 0) {
        return false;
    }
    name = entry.substr(kNameOpen.size(), nameEnd - kNameOpen.size());
    const std::size_t numberStart = nameEnd + kNameClose.size();
    number = entry.substr(numberStart, entry.size() - kEntryClose.size() - numberStart);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzzharness::Session session;
    const std::string record = fuzzharness::asString(data, size);
    session.startInput();
    session.access.forgetConversions();
    const std::int32_t before = session.access.phoneBookSize();
    session.access.handlePhonebookRecord(record);

    const std::int32_t added = session.access.phoneBookSize() - before;
    FUZZ_CHECK(added == 0 || added == 1);
    std::string name;
    std::string number;
    FUZZ_CHECK(added == 0 ? session.access.phonebookXml().empty()
                          : splitEntry(session.access.phonebookXml(), name, number));
    // Both are text between ">" and "<" of the record, so they cannot open or close a tag.
    FUZZ_CHECK(name.find('<') == std::string::npos && number.find('<') == std::string::npos);
    // The number need not be in the record: cutting out the name element joins the text around it.
    FUZZ_CHECK(record.find(name) != std::string::npos);
    FUZZ_CHECK(added == 0 || (!number.empty() && number.find('@') == std::string::npos));
    session.checkPasswordKept(record);
    return 0;
}
