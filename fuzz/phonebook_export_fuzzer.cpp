// A whole phonebook export through the module's retrieval with pictures on (phone model Tern):
// sync(5) against the router fixture, which sends the input as the export and answers every
// photo request with a small picture.
#include <algorithm>
#include <filesystem>

#include "FuzzHarness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzzharness::Session session;
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Tern);
    const std::string exported(reinterpret_cast<const char*>(data), size);
    session.router.phonebookExport = exported;

    std::string token;
    FUZZ_CHECK(session.box.sync(Broadsoft::Filters::Personal, token));
    // One entry per counted contact, each a name and a number that hold no "<": nothing the
    // router sends can add an element or break one.
    const std::string document = session.box.getData(Broadsoft::Filters::Personal);
    std::int32_t entries = 0;
    for (std::size_t at = document.find("<entry>"); at != std::string::npos; at = document.find("<entry>", at + 1)) {
        const std::string entry = document.substr(at, document.find("</entry>", at) - at);
        FUZZ_CHECK(entry.rfind("<entry><name>", 0) == 0 && std::count(entry.begin(), entry.end(), '<') == 5);
        ++entries;
    }
    FUZZ_CHECK(entries == session.access.phoneBookSize());
    // The module cuts contacts and their numbers with the single-pass walk.
    fuzzharness::checkWalkCutsAsRepeatedExtraction(exported, "<contact", "</contact>");
    fuzzharness::checkWalkCutsAsRepeatedExtraction(exported, "<number", "/number>");
    // Every picture the module stored lies directly inside the picture directory, whatever its
    // location; the directory is emptied for the next input.
    const std::string store = "retrieveContactImage() store imageFile[";
    const std::string inside = store + testsupport::kPictureDirectory;
    for (const auto& record : session.logs.records()) {
        const std::string& line = record.message;
        FUZZ_CHECK(line.rfind(store, 0) != 0 ||
                   (line.rfind(inside, 0) == 0 && line.find('/', inside.size()) == std::string::npos));
    }
    session.logs.clear();
    for (const auto& file : std::filesystem::directory_iterator(testsupport::kPictureDirectory)) {
        std::filesystem::remove(file);
    }
    return 0;
}
