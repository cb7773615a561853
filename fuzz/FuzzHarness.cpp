#include "FuzzHarness.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "ClientUtils.h"
#include "ExportWalk.h"

namespace fuzzharness {

void failCheck(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "fuzz invariant violated at %s:%d: %s\n", file, line, condition);
    std::abort();
}

Session::Session() {
    router.scripted().setKeepHistory(false);
    router.override = [](const testsupport::ReceivedRequest& request, testsupport::ScriptedReply& reply) {
        reply.body = "\xff\xd8\xff\xe0 fuzz picture";
        return request.target.rfind("/lua/photo.lua", 0) == 0;
    };
}

void checkWalkCutsAsRepeatedExtraction(const std::string& text, const std::string& begin, const std::string& end) {
    std::vector<std::string> walked;
    fritzbox_detail::forEachExtraction(text, begin, end, [&walked](std::string& between) {
        walked.push_back(between);
        return true;
    });
    std::string rest = text;
    std::string between;
    for (const std::string& expected : walked) {
        FUZZ_CHECK(ClientUtils::getStringBetweenKeywords(rest, between, begin, end) && between == expected);
    }
    FUZZ_CHECK(!ClientUtils::getStringBetweenKeywords(rest, between, begin, end));
}

void checkAndClearPictures(testsupport::LogCapture& logs) {
    const std::string directory = testsupport::kPictureDirectory;
    const std::string storeLine = "retrieveContactImage() store imageFile[" + directory;
    for (const auto& record : logs.records()) {
        if (record.message.rfind("retrieveContactImage() store imageFile[", 0) == 0) {
            FUZZ_CHECK(record.message.rfind(storeLine, 0) == 0);
            FUZZ_CHECK(record.message.find('/', storeLine.size()) == std::string::npos);
        }
    }
    logs.clear();
    DIR* listing = ::opendir(directory.c_str());
    FUZZ_CHECK(listing != nullptr);
    while (const dirent* entry = ::readdir(listing)) {
        const std::string name = entry->d_name;
        const std::string path = directory + name;
        struct stat info;
        FUZZ_CHECK(name == "." || name == ".." || (::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)));
        ::unlink(path.c_str());
    }
    ::closedir(listing);
}

}  // namespace fuzzharness
