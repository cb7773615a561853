#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "Logging.h"

namespace {

// A message far longer than any fixed buffer arrives whole.
TEST(Logging, LongMessageArrivesWhole) {
    testsupport::LogCapture capture(0);
    const std::string longText(100000, 'x');
    logAppQel("Broadsoft Service", "./src/FritzBox", 2, 12, "%s", longText.c_str());
    ASSERT_EQ(capture.records().size(), 1u);
    EXPECT_EQ(capture.records()[0].message, longText);
}

TEST(Logging, WritesOneFormattedLineToStderrWithoutASink) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    std::fflush(stderr);
    const int savedStderr = ::dup(STDERR_FILENO);
    ::dup2(::fileno(file), STDERR_FILENO);
    const int previousLevel = linux_platform::logLevel();
    linux_platform::setLogLevel(6);
    logAppQel("Broadsoft Service", "./src/FritzBox", 6, 123, "message %s", "text");
    std::fflush(stderr);
    linux_platform::setLogLevel(previousLevel);
    ::dup2(savedStderr, STDERR_FILENO);
    ::close(savedStderr);

    char line[256] = {};
    std::rewind(file);
    ASSERT_NE(std::fgets(line, sizeof line, file), nullptr);
    std::fclose(file);
    EXPECT_STREQ(line, "fritzbox <6> [Broadsoft Service] ./src/FritzBox:123 message text\n");
}

}  // namespace
