// A whole call-list body through the module's retrieval: sync(0) against the router fixture,
// which sends the input as the CSV of /fon_num/foncalls_list.lua. Covers the line splitting, the
// record limit and the change token together with the scanner and the record conversion.
#include "FuzzHarness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzzharness::Session session;
    session.router.callList.assign(reinterpret_cast<const char*>(data), size);
    session.logs.clear();

    std::string token;  // empty, so that every input counts as a changed list
    FUZZ_CHECK(session.box.sync(Broadsoft::Filters::CallLogs, token));
    const std::int32_t records = session.access.callListSize();
    FUZZ_CHECK(records >= 0 && records <= 50);
    FUZZ_CHECK(session.access.callLogIds().size() <= static_cast<std::size_t>(records));
    // Five date parts of at most three characters each, all taken from the record.
    for (const std::string& id : session.access.callLogIds()) {
        FUZZ_CHECK(id.size() <= 15 && id.find_first_not_of(session.router.callList) == std::string::npos);
    }
    FUZZ_CHECK(session.access.fragments().empty());
    return 0;
}
