#include "HostSession.h"

#include <chrono>
#include <thread>

#include "TokenFile.h"

namespace host {

bool parseDataSet(const std::string& name, Broadsoft::Filters::FilterTypes& filter) {
    if (name == "calllogs") {
        filter = Broadsoft::Filters::CallLogs;
        return true;
    }
    if (name == "directory") {
        filter = Broadsoft::Filters::Personal;
        return true;
    }
    return false;
}

bool runSyncs(const SyncPlan& plan, std::ostream& out) {
    HostSession session(plan.user, plan.password);
    std::string& token = session.token(plan.filter);
    if (!plan.tokenFile.empty()) {
        token = readToken(plan.tokenFile);
    }
    bool result = false;
    for (int round = 1; round <= plan.repeat; ++round) {
        if (round > 1 && plan.intervalSeconds > 0) {
            std::this_thread::sleep_for(std::chrono::duration<double>(plan.intervalSeconds));
        }
        result = session.sync(plan.filter);
        out << session.document(plan.filter) << '\n' << std::flush;
        if (!plan.tokenFile.empty()) {
            writeToken(plan.tokenFile, token);
        }
    }
    return result;
}

}  // namespace host
