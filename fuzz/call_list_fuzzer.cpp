// A whole call-list body through the module's retrieval: sync(0) against a router on loopback
// that sends the input as the CSV of /fon_num/foncalls_list.lua. Covers the line splitting, the
// record limit and the change token together with the record conversion.
#include "FritzBox.h"
#include "FuzzSupport.h"
#include "ModuleTestSupport.h"

namespace {

const std::int32_t kMaxCallListRecords = 50;
const std::string kEmptyCallLogs =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CallLogs xmlns=\"http://schema.broadsoft.com/xsi\"><placed></placed>"
    "<received></received><missed></missed></CallLogs>";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzzsupport::RouterSession session;
    const std::string body = fuzzsupport::asString(data, size);
    session.startInput();
    session.router.setCallList(body);

    std::string token;  // empty, so that every input counts as a changed list
    FUZZ_CHECK(session.box.sync(Broadsoft::Filters::CallLogs, token));
    FritzBoxTestAccess access(session.box);
    FUZZ_CHECK(access.callListSize() >= 0 && access.callListSize() <= kMaxCallListRecords);
    FUZZ_CHECK(access.callLogIds().size() <= static_cast<std::size_t>(access.callListSize()));
    FUZZ_CHECK(session.box.getData(Broadsoft::Filters::CallLogs) == kEmptyCallLogs);
    fuzzsupport::checkPasswordKept(body, session.logs, &session.router);
    return 0;
}
