// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The host's judgement of a sync from what the module and the platform's exchange report say, and
// the order of output and token file, in-process against the router model on loopback.
#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "HostSession.h"
#include "LinuxPlatform.h"
#include "ModelRouter.h"

namespace {

using host::SyncOutcome;

// Each row: the module's result and the exchange report; the outcome and the user's sentence.
TEST(ClassifySyncTest, EveryFalseResultIsToldApart) {
    const std::string list = "/fon_num/foncalls_list.lua";
    const struct {
        bool synced;
        linux_platform::ExchangeReport report;
        SyncOutcome outcome;
        std::string explanation;
    } rows[] = {
        {true, {1, list, 500, "ignored"}, SyncOutcome::Changed, ""},
        {false,
         {2, list, 200, "cannot connect"},
         SyncOutcome::RouterFailed,
         "the router could not be used: cannot connect"},
        {false, {0, "", 0, ""}, SyncOutcome::RouterFailed, "no request reached the router"},
        {false,
         {0, list, 500, ""},
         SyncOutcome::RouterFailed,
         "the router answered /fon_num/foncalls_list.lua with status 500"},
        {false,
         {0, list, 302, ""},
         SyncOutcome::RouterFailed,
         "the router answered /fon_num/foncalls_list.lua with status 302 (too many redirects)"},
        {false,
         {0, list, 199, ""},
         SyncOutcome::RouterFailed,
         "the router answered /fon_num/foncalls_list.lua with status 199"},
        {false,
         {0, list, 300, ""},
         SyncOutcome::RouterFailed,
         "the router answered /fon_num/foncalls_list.lua with status 300 (too many redirects)"},
        {false,
         {0, "/login_sid.lua", 200, ""},
         SyncOutcome::LoginRefused,
         "the router refused the login of user 'admin': wrong user name or password, or the router blocks logins "
         "for a while after failed ones"},
        {false, {0, list, 200, ""}, SyncOutcome::Unchanged, ""},
        {false, {0, list, 299, ""}, SyncOutcome::Unchanged, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.report.lastPath + " " + std::to_string(row.report.lastStatus));
        const host::SyncReport report = host::classifySync(row.synced, row.report, "admin");
        EXPECT_EQ(report.outcome, row.outcome);
        EXPECT_EQ(report.explanation, row.explanation);
    }
}

// A document that cannot reach its reader is an error, and the token file is not written.
TEST(RunSyncsTest, ADocumentThatCannotBeWrittenLeavesNoToken) {
    testsupport::ModelRouter router(routersim::SimulatorOptions(),
                                    routersim::RouterData::loadFromDirectory(FRITZBOX_SAMPLE_DATA_DIR));
    const std::string tokenFile = std::string(HOST_TEST_SCRATCH) + "/token-" + std::to_string(::getpid());
    ::unlink(tokenFile.c_str());
    host::SyncPlan plan;
    plan.user = tools::kSampleRouterUser;
    plan.password = tools::kSampleRouterPassword;
    plan.tokenFile = tokenFile;
    std::ostringstream closed;
    closed.setstate(std::ios::badbit);
    EXPECT_THROW(host::runSyncs(plan, closed), host::OutputError);
    EXPECT_NE(::access(tokenFile.c_str(), F_OK), 0) << "no token for a document nobody got";

    std::ostringstream out;
    EXPECT_EQ(host::runSyncs(plan, out).outcome, SyncOutcome::Changed);
    EXPECT_NE(out.str().find("<CallLogs"), std::string::npos);
    EXPECT_EQ(::access(tokenFile.c_str(), F_OK), 0) << "the token after the document";
    ::unlink(tokenFile.c_str());
    linux_platform::clearHostMappings();
}

}  // namespace
