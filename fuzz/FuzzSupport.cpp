#include "FuzzSupport.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace fuzzsupport {

const char* const kPassword = "Fz!q7-Kennwort#93";
const char* const kPictureDirectory = "/data/images/fritzbox/";
const std::string FuzzRouter::kSid = "0123456789abcdef";

namespace {

const std::size_t kMaxRequestHeadBytes = 64 * 1024;
const std::string kPhotoBytes = "\xff\xd8\xff\xe0\x00\x10JFIF fuzz picture";

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::string sessionInfo(const std::string& sid) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SessionInfo><SID>" + sid +
           "</SID><Challenge>4f2a9c1e</Challenge><BlockTime>0</BlockTime></SessionInfo>";
}

std::string response(int status, const std::string& body) {
    return "HTTP/1.1 " + std::to_string(status) + (status == 200 ? " OK" : " Not Found") +
           "\r\nContent-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

bool sendAll(int fd, const std::string& data) {
    std::size_t sent = 0;
    while (sent < data.size()) {
        const ssize_t written = ::send(fd, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(written);
    }
    return true;
}

// The request's Content-Length as the platform's client writes it; 0 when absent.
std::size_t contentLength(const std::string& head) {
    const std::string field = "\r\nContent-Length: ";
    const std::size_t at = head.find(field);
    return at == std::string::npos ? 0 : std::strtoul(head.c_str() + at + field.size(), nullptr, 10);
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

FuzzRouter::FuzzRouter() {
    m_listenFd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_listenFd < 0 || ::bind(m_listenFd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_listenFd, 8) != 0 ||
        ::getsockname(m_listenFd, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        ::pipe2(m_stopPipe, O_CLOEXEC) != 0) {
        throw std::runtime_error("FuzzRouter cannot listen on 127.0.0.1");
    }
    linux_platform::mapHost("fritz.box", "80", "127.0.0.1", std::to_string(ntohs(address.sin_port)));
    m_thread = std::thread(&FuzzRouter::run, this);
}

FuzzRouter::~FuzzRouter() {
    const char stop = 's';
    while (::write(m_stopPipe[1], &stop, 1) < 0 && errno == EINTR) {
    }
    m_thread.join();
    ::close(m_listenFd);
    ::close(m_stopPipe[0]);
    ::close(m_stopPipe[1]);
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

// The module keeps at most one connection and closes it before it opens the next, so serving
// them one after the other is enough.
void FuzzRouter::run() {
    while (waitReadable(m_listenFd)) {
        const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd >= 0) {
            serve(fd);
            ::close(fd);
        }
    }
}

void FuzzRouter::serve(int fd) {
    std::string buffer;
    std::string head;
    std::string body;
    while (readRequest(fd, buffer, head, body)) {
        const std::string requestLine = head.substr(0, head.find("\r\n"));
        std::string reply;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_requestText.append(requestLine).append("\n").append(body).append("\n");
            reply = answer(requestLine);
        }
        if (!sendAll(fd, reply)) {
            return;
        }
    }
}

bool FuzzRouter::readRequest(int fd, std::string& buffer, std::string& head, std::string& body) {
    std::size_t headEnd;
    std::size_t bodyLength = 0;
    for (;;) {
        headEnd = buffer.find("\r\n\r\n");
        if (headEnd != std::string::npos) {
            bodyLength = contentLength(buffer.substr(0, headEnd + 2));
            if (buffer.size() >= headEnd + 4 + bodyLength) {
                break;
            }
        } else if (buffer.size() > kMaxRequestHeadBytes) {
            return false;
        }
        char chunk[16 * 1024];
        if (!waitReadable(fd)) {
            return false;
        }
        const ssize_t received = ::recv(fd, chunk, sizeof chunk, 0);
        if (received <= 0) {
            return false;
        }
        buffer.append(chunk, static_cast<std::size_t>(received));
    }
    head = buffer.substr(0, headEnd + 2);
    body = buffer.substr(headEnd + 4, bodyLength);
    buffer.erase(0, headEnd + 4 + bodyLength);
    return true;
}

// Called with the lock held.
std::string FuzzRouter::answer(const std::string& requestLine) {
    const std::size_t targetStart = requestLine.find(' ') + 1;
    const std::string target = requestLine.substr(targetStart, requestLine.rfind(' ') - targetStart);
    if (startsWith(target, "/login_sid.lua")) {
        const bool login = target.find("response=") != std::string::npos;
        return response(200, sessionInfo(login ? kSid : "0000000000000000"));
    }
    if (startsWith(target, "/fon_num/foncalls_list.lua")) {
        return response(200, m_callList);
    }
    if (target == "/cgi-bin/firmwarecfg") {
        return response(200, m_export);
    }
    if (startsWith(target, "/lua/photo.lua")) {
        return response(200, kPhotoBytes);
    }
    return response(404, "");
}

// Waits until `fd` is readable; false once the router stops.
bool FuzzRouter::waitReadable(int fd) const {
    for (;;) {
        pollfd entries[2] = {{m_stopPipe[0], POLLIN, 0}, {fd, POLLIN, 0}};
        const int ready = ::poll(entries, 2, -1);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        return ready > 0 && entries[0].revents == 0;
    }
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
