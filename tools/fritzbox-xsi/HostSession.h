#pragma once
// Drives the module as the phone's Broadsoft service does: one FritzBox object, sync() for a
// data set with the change token the service keeps between refreshes, then getData() for the
// document.
#include <map>
#include <ostream>
#include <string>

#include "FilterTypes.h"
#include "FritzBox.h"

namespace host {

class HostSession {
public:
    HostSession(const std::string& user, const std::string& password) : m_box(user, password) {}

    // The token of `filter` as kept between refreshes (empty before the first accepted fetch).
    std::string& token(Broadsoft::Filters::FilterTypes filter) { return m_tokens[filter]; }
    bool sync(Broadsoft::Filters::FilterTypes filter) { return m_box.sync(filter, token(filter)); }
    std::string document(Broadsoft::Filters::FilterTypes filter) { return m_box.getData(filter); }

private:
    FritzBox m_box;
    std::map<Broadsoft::Filters::FilterTypes, std::string> m_tokens;
};

struct SyncPlan {
    Broadsoft::Filters::FilterTypes filter = Broadsoft::Filters::CallLogs;
    std::string user;
    std::string password;
    std::string tokenFile;  // empty: the token lives only in this process
    int repeat = 1;
    double intervalSeconds = 0;
};

// Runs the plan's syncs on one session, printing the document after each to `out` (also after
// a false result, as the phone shows it). Returns the last sync's result. Throws TokenFileError
// when the token file cannot be read or replaced.
bool runSyncs(const SyncPlan& plan, std::ostream& out);

// "calllogs" -> 0, "directory" -> 5; false for anything else.
bool parseDataSet(const std::string& name, Broadsoft::Filters::FilterTypes& filter);

}  // namespace host
