#include "FuzzSupport.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace fuzzsupport {

const char* const kPassword = "Fz!q7-Kennwort#93";
const char* const kPictureDirectory = "/data/images/fritzbox/";
const std::string FuzzRouter::kSid = "0123456789abcdef";

namespace {

const std::string kPhotoBytes = "\xff\xd8\xff\xe0\x00\x10JFIF fuzz picture";

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::string sessionInfo(const std::string& sid) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SessionInfo><SID>" + sid +
           "</SID><Challenge>4f2a9c1e</Challenge><BlockTime>0</BlockTime></SessionInfo>";
}

}  // namespace

void failCheck(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "fuzz invariant violated at %s:%d: %s\n", file, line, condition);
    std::abort();
}

std::string asString(const std::uint8_t* data, std::size_t size) {
    return std::string(reinterpret_cast<const char*>(data), size);
}

// ---- LogWatch ----

LogWatch::LogWatch() {
    linux_platform::setLogLevel(9);
    linux_platform::setLogSink([this](const linux_platform::LogRecord& record) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.push_back(record.message);
    });
}

LogWatch::~LogWatch() {
    linux_platform::setLogSink({});
}

void LogWatch::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_messages.clear();
}

bool LogWatch::anyLineContains(const std::string& text) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const std::string& message : m_messages) {
        if (message.find(text) != std::string::npos) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> LogWatch::messagesAfter(const std::string& prefix) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> found;
    for (const std::string& message : m_messages) {
        if (startsWith(message, prefix)) {
            found.push_back(message.substr(prefix.size()));
        }
    }
    return found;
}

// ---- FuzzRouter ----

FuzzRouter::FuzzRouter() : m_router([this](const testsupport::ReceivedRequest& request) { return answer(request); }) {
    m_router.setKeepHistory(false);
    m_router.mapAs("fritz.box", "80");
}

FuzzRouter::~FuzzRouter() {
    linux_platform::clearHostMappings();
}

void FuzzRouter::setCallList(std::string body) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_callList = std::move(body);
}

void FuzzRouter::setExport(std::string body) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_export = std::move(body);
}

bool FuzzRouter::requestsContained(const std::string& text) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requestText.find(text) != std::string::npos;
}

void FuzzRouter::clearRequests() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requestText.clear();
}

testsupport::ScriptedReply FuzzRouter::answer(const testsupport::ReceivedRequest& request) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requestText.append(request.method).append(" ").append(request.target).append("\n");
    for (const auto& header : request.headers) {
        m_requestText.append(header.first).append(": ").append(header.second).append("\n");
    }
    m_requestText.append(request.body).append("\n");

    testsupport::ScriptedReply reply;
    const std::string& target = request.target;
    if (startsWith(target, "/login_sid.lua")) {
        reply.body = sessionInfo(target.find("response=") != std::string::npos ? kSid : "0000000000000000");
    } else if (startsWith(target, "/fon_num/foncalls_list.lua")) {
        reply.body = m_callList;
    } else if (target == "/cgi-bin/firmwarecfg") {
        reply.body = m_export;
    } else if (startsWith(target, "/lua/photo.lua")) {
        reply.body = kPhotoBytes;
    } else {
        reply.status = 404;
    }
    return reply;
}

// ---- checks ----

void checkPasswordKept(const std::string& input, const LogWatch& logs, const FuzzRouter* router) {
    if (input.find(kPassword) != std::string::npos) {
        return;
    }
    FUZZ_CHECK(!logs.anyLineContains(kPassword));
    FUZZ_CHECK(router == nullptr || !router->requestsContained(kPassword));
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
    const std::string directory = kPictureDirectory;
    for (const std::string& path : storedPaths) {
        FUZZ_CHECK(startsWith(path, directory));
        FUZZ_CHECK(path.find('/', directory.size()) == std::string::npos);
    }
    DIR* listing = ::opendir(kPictureDirectory);
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

}  // namespace fuzzsupport
