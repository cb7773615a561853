// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Drives the module as the phone's Broadsoft service does: one FritzBox object, sync() for a
// data set with the change token the service keeps between refreshes, then getData() for the
// document.
#include <map>
#include <ostream>
#include <stdexcept>
#include <string>

#include "FilterTypes.h"
#include "FritzBox.h"
#include "LinuxPlatform.h"

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

// What a sync came to. The module says only true (new data) or false; the platform's exchange
// report tells the false results apart.
enum class SyncOutcome { Changed, Unchanged, RouterFailed, LoginRefused };

struct SyncReport {
    SyncOutcome outcome = SyncOutcome::Unchanged;
    std::string explanation;  // for a failure: one sentence a user understands
};

SyncReport classifySync(bool synced, const linux_platform::ExchangeReport& exchanges, const std::string& user);

// The document could not be written to its reader; the token file then stays as it was.
class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Runs the plan's syncs on one session, printing the document after each to `out` (also after
// a false result, as the phone shows it) and flushing it; only a document that reached `out`
// advances the token file. With more than one sync each document ends with a NUL byte. A stop
// signal ends the run after the sync under way (or at once during a wait). Returns the last
// sync's report. Throws TokenFileError when the token file cannot be read or replaced and
// OutputError when a document cannot be written.
SyncReport runSyncs(const SyncPlan& plan, std::ostream& out);

// "calllogs" -> 0, "directory" -> 5; false for anything else.
bool parseDataSet(const std::string& name, Broadsoft::Filters::FilterTypes& filter);

}  // namespace host
