// One call-list record through the module's conversion (handleSingleCallLogRecord). The record
// is scanned with sscanf into fixed scratch fields, so this is where an overlong or odd field
// would overrun.
#include "FritzBox.h"
#include "FuzzSupport.h"
#include "ModuleTestSupport.h"

namespace {

// Five date parts of at most three characters each.
const std::size_t kMaxCallLogIdBaseLength = 15;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzzsupport::LogWatch logs;
    const std::string record = fuzzsupport::asString(data, size);
    logs.clear();
    // A fresh object per record: its identifier list would otherwise grow over the whole run.
    FritzBox box("admin", fuzzsupport::kPassword);
    FritzBoxTestAccess access(box);
    access.handleCallRecord(record);

    FUZZ_CHECK(access.fragments().empty());  // every entry is dropped at filing
    const std::vector<std::string>& ids = access.callLogIds();
    FUZZ_CHECK(ids.size() <= 1);
    if (!ids.empty()) {
        FUZZ_CHECK(ids.front().size() <= kMaxCallLogIdBaseLength);
        FUZZ_CHECK(ids.front().find_first_not_of(record) == std::string::npos);
    }
    fuzzsupport::checkPasswordKept(record, logs, nullptr);
    return 0;
}
