// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Whole sessions with the bundled sample router data against the router model on loopback, with
// the simulator's own sessions (random challenges and ids, login blocking): a router that drops
// the session between login and fetch (a fault switch), a link planted as the picture
// directory, and a full session traced at every log level that must not leak the password anywhere
// (the one test that watches for it).
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleFixture.h"
#include "Storage.h"

using namespace testsupport;
using Broadsoft::Filters::CallLogs;
using Broadsoft::Filters::Personal;

namespace {

const std::string kPassword = "Hostile#Kennwort-7731\xc3\x84";  // distinctive, with a non-ASCII byte pair

// What the user sees: the login works, but the call list is the router's login page, whose lines
// are all rejected (one level-2 line each), and the directory turns empty. The module never logs
// in again by itself, so after the router recovers the same login page keeps coming back and is
// reported as unchanged: the directory stays empty until a credential changes (or the service
// restarts), which logs the stale session out and lets the next sync log in.
TEST(SampleRouterTest, ADroppedSessionIsKeptUntilACredentialChanges) {
    LogCapture log{6};
    routersim::SimulatorOptions options;
    options.password = kPassword;
    ModelRouter router(options, routersim::RouterData::loadFromDirectory(FRITZBOX_SAMPLE_DATA_DIR));
    FritzBox box{"admin", kPassword};
    std::string callToken, directoryToken;
    const auto directoryEmpty = [&box] {
        return box.getData(Personal).find("<numberOfRecords>0</numberOfRecords>") != std::string::npos;
    };
    routersim::Faults faults;
    faults.dropSessions = true;
    router.model().setFaults(faults);
    EXPECT_TRUE(box.sync(CallLogs, callToken)) << "the login page differs from the empty token";
    EXPECT_TRUE(log.contains("handleSingleCallLogRecord() record='<form method=\"post\" action=\"/\">'"));
    EXPECT_FALSE(log.contains("getCallLogId()"));
    EXPECT_TRUE(box.sync(Personal, directoryToken));
    EXPECT_TRUE(directoryEmpty());
    EXPECT_EQ(router.model().stats().logins, 1u);
    EXPECT_EQ(router.model().stats().callListFetches + router.model().stats().exportFetches, 0u);

    router.model().setFaults({});
    EXPECT_FALSE(box.sync(CallLogs, callToken)) << "the same login page: unchanged";
    EXPECT_FALSE(box.sync(Personal, directoryToken));
    EXPECT_TRUE(directoryEmpty());
    EXPECT_EQ(router.model().stats().logins, 1u) << "no new login by itself";

    box.setUsername("someone else");  // logs the stale session out
    box.setUsername("admin");
    EXPECT_TRUE(box.sync(CallLogs, callToken));
    EXPECT_TRUE(box.sync(Personal, directoryToken));
    EXPECT_TRUE(log.contains("getCallLogId()"));
    EXPECT_FALSE(directoryEmpty());
    EXPECT_EQ(router.model().stats().logins, 2u);
    linux_platform::clearHostMappings();
}

// A link planted in the picture directory's place, to a directory of the phone's configuration
// where a link named like the router's first picture leads to a settings file: a whole directory
// session still shows the pictures, changes nothing outside the picture directory and leaves
// nothing behind.
TEST(SampleRouterTest, APlantedLinkTakesNoPictureOutOfItsDirectory) {
    const std::string system = "/data/images/system", directory = "/data/images/fritzbox";
    ASSERT_TRUE(Storage::makeDir(system));
    std::ofstream(system + "/config") << "setting=1";
    ASSERT_EQ(::symlink("config", (system + "/1.jpg").c_str()), 0);
    ASSERT_EQ(::symlink(system.c_str(), directory.c_str()), 0);
    ModelRouter router(routersim::SimulatorOptions(),
                       routersim::RouterData::loadFromDirectory(FRITZBOX_SAMPLE_DATA_DIR));
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Tern);
    {
        FritzBox box{"admin", routersim::SimulatorOptions().password};
        std::string token;
        ASSERT_TRUE(box.sync(Personal, token));
        EXPECT_NE(box.getData(Personal).find("<name>Anna Beispiel@@@" + directory + "/1.jpg</name>"),
                  std::string::npos);
        EXPECT_EQ(Storage::fileSize(directory + "/1.jpg"), Storage::fileSize(FRITZBOX_SAMPLE_DATA_DIR "/photos/1.jpg"));
    }
    EXPECT_EQ(Storage::fileSize(system + "/config"), 9);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(system), {}), 2) << "config and 1.jpg only";
    EXPECT_FALSE(Storage::fileExists_stat(directory));
    Storage::deleteDirectory(system);
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Other);
    linux_platform::clearHostMappings();
}

// Login, call list, export with pictures and the logout that a password change makes, traced at
// level 9 against a router that records every request whole.
TEST(PasswordTest, ThePasswordAppearsInNoLogLineOrRequest) {
    const std::string newPassword = "Second#Kennwort-4419";
    LogCapture log{9};
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Tern);
    ModelRouter router(kPassword);
    router.model().setData(routersim::RouterData::loadFromDirectory(FRITZBOX_SAMPLE_DATA_DIR));
    {
        FritzBox box("admin", kPassword);
        std::string callToken, directoryToken;
        ASSERT_TRUE(box.sync(CallLogs, callToken)) << log.text();
        ASSERT_TRUE(box.sync(Personal, directoryToken));
        box.setPassword(newPassword);
    }
    linux_platform::setPhoneModel(linux_platform::PhoneModel::Other);
    linux_platform::clearHostMappings();

    EXPECT_EQ(router.count("/login_sid.lua?logout="), 1u);
    for (const std::string& password : {kPassword, newPassword}) {
        EXPECT_EQ(log.text().find(password), std::string::npos) << log.text();
        for (const ReceivedRequest& request : router.requests()) {
            EXPECT_EQ(request.header("Authorization"), "") << "no credentials travel in any form";
            std::string whole = request.target + request.body;
            for (const auto& header : request.headers) {
                whole += header.second;
            }
            EXPECT_EQ(whole.find(password), std::string::npos) << whole;
        }
    }
    EXPECT_TRUE(log.contains("setPassword() m_password.length='" + std::to_string(newPassword.size()) + "'"));
}

}  // namespace
