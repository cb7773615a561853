#include "FuzzHarness.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "ClientUtils.h"
#include "ExportWalk.h"

namespace fuzzharness {

const char* const kPassword = "Fz!q7-Kennwort#93";

namespace {

const std::string kPhotoBytes = "\xff\xd8\xff\xe0\x00\x10JFIF fuzz picture";

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

void failCheck(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "fuzz invariant violated at %s:%d: %s\n", file, line, condition);
    std::abort();
}

std::string asString(const std::uint8_t* data, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(data), size);
}

Session::Session() {
    router.scripted().setKeepHistory(false);
    // Runs on the router's thread while the module waits for the answer, so never beside a read.
    router.override = [this](const testsupport::ReceivedRequest& request, testsupport::ScriptedReply& reply) {
        requestText.append(request.method).append(" ").append(request.target).append("\n");
        for (const auto& header : request.headers) {
            requestText.append(header.first).append(": ").append(header.second).append("\n");
        }
        requestText.append(request.body).append("\n");
        reply.body = kPhotoBytes;
        return startsWith(request.target, "/lua/photo.lua");
    };
}

void Session::startInput() {
    requestText.clear();
    logs.clear();
}

void Session::checkPasswordKept(const std::string& input) const {
    if (input.find(kPassword) == std::string::npos) {
        FUZZ_CHECK(!logs.contains(kPassword));
        FUZZ_CHECK(requestText.find(kPassword) == std::string::npos);
    }
}

std::vector<std::string> extractedRepeatedly(std::string text, const std::string& begin, const std::string& end) {
    std::vector<std::string> found;
    std::string between;
    while (ClientUtils::getStringBetweenKeywords(text, between, begin, end)) {
        found.push_back(between);
    }
    return found;
}

std::vector<std::string> walked(const std::string& text, const std::string& begin, const std::string& end) {
    std::vector<std::string> found;
    fritzbox_detail::forEachExtraction(text, begin, end, [&found](std::string& between) {
        found.push_back(between);
        return true;
    });
    return found;
}

bool tagsBalanced(const std::string& document) {
    std::size_t at = 0;
    if (startsWith(document, "<?xml")) {
        at = document.find("?>");
        if (at == std::string::npos) {
            return false;
        }
        at += 2;
    }
    std::vector<std::string> open;
    bool sawRoot = false;
    while ((at = document.find('<', at)) != std::string::npos) {
        const std::size_t close = document.find('>', at);
        if (close == std::string::npos || document.find('<', at + 1) < close) {
            return false;
        }
        const std::string tag = document.substr(at + 1, close - at - 1);
        if (startsWith(tag, "/")) {
            if (open.empty() || open.back() != tag.substr(1)) {
                return false;
            }
            open.pop_back();
        } else if (tag.empty() || tag.back() != '/') {
            if (open.empty() && sawRoot) {
                return false;  // a second root element
            }
            open.push_back(tag.substr(0, tag.find(' ')));
            sawRoot = true;
        }
        at = close + 1;
    }
    return sawRoot && open.empty();
}

void checkAndClearPictures(const std::vector<std::string>& storedPaths) {
    const std::string directory = testsupport::kPictureDirectory;
    for (const std::string& path : storedPaths) {
        FUZZ_CHECK(startsWith(path, directory));
        FUZZ_CHECK(path.find('/', directory.size()) == std::string::npos);
    }
    DIR* listing = ::opendir(directory.c_str());
    FUZZ_CHECK(listing != nullptr);
    while (const dirent* entry = ::readdir(listing)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        struct stat info;
        const std::string path = directory + name;
        FUZZ_CHECK(::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode));
        ::unlink(path.c_str());
    }
    ::closedir(listing);
}

}  // namespace fuzzharness
