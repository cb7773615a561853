// A whole phonebook export through the module's retrieval with pictures on (phone model Tern):
// sync(5) against the router fixture, which sends the input as the export and answers every
// photo request with a small picture. The single-pass walk must cut the records and numbers that
// repeated keyword extraction would.
#include "FuzzHarness.h"

namespace {

const std::string kStoreLinePrefix = "retrieveContactImage() store imageFile[";

// The paths named by the "store imageFile[...]" trace lines, written before each file is opened.
std::vector<std::string> storedPicturePaths(const testsupport::LogCapture& logs) {
    std::vector<std::string> paths;
    for (const auto& record : logs.records()) {
        if (record.message.rfind(kStoreLinePrefix, 0) == 0) {
            paths.push_back(
                record.message.substr(kStoreLinePrefix.size(), record.message.size() - kStoreLinePrefix.size() - 1));
        }
    }
    return paths;
}

void checkCutting(const std::string& text, const std::string& begin, const std::string& end) {
    FUZZ_CHECK(fuzzharness::walked(text, begin, end) == fuzzharness::extractedRepeatedly(text, begin, end));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzzharness::Session session;
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Tern);
    const std::string exported = fuzzharness::asString(data, size);
    session.startInput();
    session.router.phonebookExport = exported;

    std::string token;
    FUZZ_CHECK(session.box.sync(Broadsoft::Filters::Personal, token));
    const std::string document = session.box.getData(Broadsoft::Filters::Personal);
    // Names and numbers are cut between ">" and "<", so no input can break the tag structure.
    FUZZ_CHECK(fuzzharness::tagsBalanced(document));
    // One entry per counted contact: the count in the document is the object's counter.
    FUZZ_CHECK(fuzzharness::walked(document, "<entry>", "</entry>").size() ==
               static_cast<std::size_t>(session.access.phoneBookSize()));
    checkCutting(exported, "<contact", "</contact>");
    checkCutting(exported, "<number", "/number>");
    fuzzharness::checkAndClearPictures(storedPicturePaths(session.logs));
    session.checkPasswordKept(exported);
    return 0;
}
