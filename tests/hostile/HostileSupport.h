#pragma once
// Shared pieces of the hostile-router tests.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>

#include "FilterTypes.h"

namespace hostile {

const Broadsoft::Filters::FilterTypes kCallLogs = Broadsoft::Filters::CallLogs;

// Runs `step` on its own thread and returns its result. A step still running after two minutes
// is a hang: the program stops with a message, because waiting on would block the whole run.
// The bound is far above what any step needs (the module's I/O time-out is 5 s).
template <typename Step>
auto finishes(Step step) {
    auto result = std::async(std::launch::async, step);
    if (result.wait_for(std::chrono::minutes(2)) != std::future_status::ready) {
        std::fprintf(stderr, "hang: %s did not finish\n",
                     ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::abort();
    }
    return result.get();
}

}  // namespace hostile
