#pragma once
// A module object with its loopback router and tracing captured; the phone model and the host
// mappings are reset afterwards.
#include <gtest/gtest.h>

#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "ModuleFixture.h"

class ModuleTest : public ::testing::Test {
protected:
    explicit ModuleTest(const std::string& password = "geheim") : router(password), box("admin", password) {}
    void SetUp() override { linux_platform::setPhoneModel(linux_platform::PhoneModel::Other); }
    void TearDown() override {
        linux_platform::setPhoneModel(linux_platform::PhoneModel::Other);
        linux_platform::clearHostMappings();
    }

    testsupport::LogCapture log{6};
    testsupport::TestRouter router;
    FritzBox box;
    FritzBoxTestAccess access{box};
    std::string token;
};
