// A whole phonebook export through the module's retrieval with pictures on (phone model Tern):
// sync(5) against a router on loopback that sends the input as the export and answers every
// photo request with a small picture.
#include "FritzBox.h"
#include "FuzzSupport.h"
#include "ModuleTestSupport.h"

namespace {

const std::string kStoreLinePrefix = "retrieveContactImage() store imageFile[";

std::size_t occurrences(const std::string& text, const std::string& word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + word.size())) {
        ++count;
    }
    return count;
}

// The paths named by the "store imageFile[...]" trace lines, written before each file is opened.
std::vector<std::string> storedPicturePaths(const fuzzsupport::LogWatch& logs) {
    std::vector<std::string> paths = logs.messagesAfter(kStoreLinePrefix);
    for (std::string& path : paths) {
        path.pop_back();  // the closing "]"
    }
    return paths;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Tern);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzzsupport::RouterSession session;
    const std::string exported = fuzzsupport::asString(data, size);
    session.startInput();
    session.router.setExport(exported);

    std::string token;
    FUZZ_CHECK(session.box.sync(Broadsoft::Filters::Personal, token));
    FritzBoxTestAccess access(session.box);
    const std::string document = session.box.getData(Broadsoft::Filters::Personal);
    // Names and numbers are cut between ">" and "<", so no input can break the tag structure.
    FUZZ_CHECK(fuzzsupport::tagsBalanced(document));
    const std::string count = std::to_string(access.phoneBookSize());
    FUZZ_CHECK(occurrences(document, "<entry>") == static_cast<std::size_t>(access.phoneBookSize()));
    FUZZ_CHECK(document.find("<numberOfRecords>" + count + "</numberOfRecords>") != std::string::npos);
    fuzzsupport::checkAndClearPictures(storedPicturePaths(session.logs));
    fuzzsupport::checkPasswordKept(exported, session.logs, &session.router);
    return 0;
}
