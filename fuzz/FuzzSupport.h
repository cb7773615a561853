#pragma once
// Pieces shared by the fuzz targets: a lean router on loopback that answers from the current
// input, a log watch that looks for the password in every written line, and checks of what the
// module leaves behind (documents, picture files).
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "FritzBox.h"
#include "LinuxPlatform.h"
#include "ScriptedRouter.h"

// Stops the fuzzer with a readable message when an invariant does not hold.
#define FUZZ_CHECK(condition) \
    ((condition) ? static_cast<void>(0) : fuzzsupport::failCheck(#condition, __FILE__, __LINE__))

namespace fuzzsupport {

// Distinctive, so that finding it anywhere is a leak and never a coincidence.
extern const char* const kPassword;
extern const char* const kPictureDirectory;

[[noreturn]] void failCheck(const char* condition, const char* file, int line);

std::string asString(const std::uint8_t* data, std::size_t size);

// Captures every log line (level 9) of the process while it lives.
class LogWatch {
public:
    LogWatch();
    ~LogWatch();
    LogWatch(const LogWatch&) = delete;
    LogWatch& operator=(const LogWatch&) = delete;

    // Forgets the lines of the previous input.
    void clear();
    bool anyLineContains(const std::string& text) const;
    // The messages that begin with `prefix`, without the prefix.
    std::vector<std::string> messagesAfter(const std::string& prefix) const;

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_messages;
};

// A router on 127.0.0.1, mapped as fritz.box:80. Every login succeeds; the call list and the
// phonebook export are whatever was set last; every photo is a small fixed picture. It keeps no
// request history beyond the text it is asked about, so it can serve millions of inputs in one
// process.
class FuzzRouter {
public:
    static const std::string kSid;

    FuzzRouter();
    ~FuzzRouter();
    FuzzRouter(const FuzzRouter&) = delete;
    FuzzRouter& operator=(const FuzzRouter&) = delete;

    void setCallList(std::string body);
    void setExport(std::string body);
    // True when some request line, header or body contained `text` since the last clear.
    bool requestsContained(const std::string& text) const;
    void clearRequests();

private:
    testsupport::ScriptedReply answer(const testsupport::ReceivedRequest& request);

    mutable std::mutex m_mutex;
    std::string m_callList;
    std::string m_export;
    std::string m_requestText;             // request lines, headers and bodies since the last clear
    testsupport::ScriptedRouter m_router;  // last, so it stops before the state it answers from goes
};

// One router and one module object for a whole run, as the phone keeps them.
struct RouterSession {
    LogWatch logs;
    FuzzRouter router;
    FritzBox box{"admin", kPassword};

    // Forgets the requests and log lines of the previous input.
    void startInput() {
        router.clearRequests();
        logs.clear();
    }
};

// The password may show up in a log line or a request only where the input itself carries it
// (the module echoes rejected records and asks for the photo names it was given).
void checkPasswordKept(const std::string& input, const LogWatch& logs, const FuzzRouter* router);

// True when every tag of `document` after the XML declaration is closed in order and no text
// holds a "<" that starts no tag.
bool tagsBalanced(const std::string& document);

// Every file the module stored is a regular file directly inside the picture directory, and so is
// everything found there; the directory is emptied for the next input.
void checkAndClearPictures(const std::vector<std::string>& storedPaths);

}  // namespace fuzzsupport
