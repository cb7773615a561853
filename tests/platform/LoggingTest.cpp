#include <gtest/gtest.h>

#include "LinuxPlatform.h"
#include "Logging.h"

namespace {

// Without a sink a line goes to stderr in the phone's format, a message far longer than any fixed
// buffer whole.
TEST(Logging, WritesOneFormattedLineToStderrWithoutASink) {
    const std::string longText(100000, 'x');
    const int previousLevel = linux_platform::logLevel();
    linux_platform::setLogLevel(6);
    ::testing::internal::CaptureStderr();
    logAppQel("Broadsoft Service", "./src/FritzBox", 6, 123, "message %s", longText.c_str());
    const std::string written = ::testing::internal::GetCapturedStderr();
    linux_platform::setLogLevel(previousLevel);
    EXPECT_EQ(written, "fritzbox <6> [Broadsoft Service] ./src/FritzBox:123 message " + longText + "\n");
}

}  // namespace
