#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "LinuxPlatform.h"
#include "LogCapture.h"
#include "Logging.h"

namespace {

const char* const kModule = "Broadsoft Service";
const char* const kSource = "./src/FritzBox";

TEST(Logging, WritesLevelsUpToTheSettingAndErrorsAlways) {
    {
        testsupport::LogCapture capture(4);
        EXPECT_TRUE(loggingOnAppQel(kModule, 4));
        EXPECT_FALSE(loggingOnAppQel(kModule, 5));
        logAppQel(kModule, kSource, 5, 10, "hidden");
        logAppQel(kModule, kSource, 4, 11, "shown %d", 4);
        const auto records = capture.records();
        ASSERT_EQ(records.size(), 1u) << capture.text();
        EXPECT_EQ(records[0].message, "shown 4");
        EXPECT_EQ(records[0].module, kModule);
        EXPECT_EQ(records[0].sourcePath, kSource);
        EXPECT_EQ(records[0].level, 4);
        EXPECT_EQ(records[0].line, 11);
    }
    testsupport::LogCapture capture(0);
    const std::string longText(100000, 'x');
    logAppQel(kModule, kSource, 2, 12, "%s", longText.c_str());
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
    logAppQel(kModule, kSource, 6, 123, "message %s", "text");
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
