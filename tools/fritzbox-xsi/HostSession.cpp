// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "HostSession.h"

#include <cerrno>
#include <cstring>

#include "StopSignals.h"
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

namespace {

const char* const kLoginPath = "/login_sid.lua";

SyncReport failure(SyncOutcome outcome, std::string explanation) {
    return SyncReport{outcome, std::move(explanation)};
}

void writeDocument(std::ostream& out, const std::string& document, bool separated) {
    errno = 0;
    out << document << '\n';
    if (separated) {
        out << '\0';
    }
    out.flush();
    if (!out) {
        const int error = errno;
        throw OutputError(std::string("cannot write the document to standard output: ") +
                          (error != 0 ? std::strerror(error) : "the stream failed") +
                          "; the token file is left as it was");
    }
}

}  // namespace

SyncReport classifySync(bool synced, const linux_platform::ExchangeReport& exchanges, const std::string& user) {
    if (synced) {
        return SyncReport{SyncOutcome::Changed, ""};
    }
    if (exchanges.failures > 0) {
        return failure(SyncOutcome::RouterFailed, "the router could not be used: " + exchanges.lastFailure);
    }
    if (exchanges.lastPath.empty()) {
        return failure(SyncOutcome::RouterFailed, "no request reached the router");
    }
    if (exchanges.lastStatus < 200 || exchanges.lastStatus > 299) {
        return failure(SyncOutcome::RouterFailed, "the router answered " + exchanges.lastPath + " with status " +
                                                      std::to_string(exchanges.lastStatus) +
                                                      (exchanges.lastStatus / 100 == 3 ? " (too many redirects)" : ""));
    }
    if (exchanges.lastPath == kLoginPath) {
        return failure(SyncOutcome::LoginRefused,
                       "the router refused the login of user '" + user +
                           "': wrong user name or password, or the router blocks logins for a while after failed ones");
    }
    return SyncReport{SyncOutcome::Unchanged, ""};
}

SyncReport runSyncs(const SyncPlan& plan, std::ostream& out) {
    HostSession session(plan.user, plan.password);
    std::string& token = session.token(plan.filter);
    if (!plan.tokenFile.empty()) {
        token = readToken(plan.tokenFile);
    }
    SyncReport report;
    for (int round = 1; round <= plan.repeat && stopSignal() == 0; ++round) {
        if (round > 1 && !waitUnlessStopped(plan.intervalSeconds)) {
            break;
        }
        linux_platform::resetExchangeReport();
        const bool synced = session.sync(plan.filter);
        report = classifySync(synced, linux_platform::exchangeReport(), plan.user);
        writeDocument(out, session.document(plan.filter), plan.repeat > 1);
        if (!plan.tokenFile.empty()) {
            writeToken(plan.tokenFile, token);
        }
    }
    return report;
}

}  // namespace host
