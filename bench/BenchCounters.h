// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// The benchmarks' shared counter shapes.
#include <benchmark/benchmark.h>

#include <cstddef>

namespace benchcounters {

// A count per iteration (per sync), such as requests or connections.
inline benchmark::Counter perIteration(std::size_t total) {
    return benchmark::Counter(static_cast<double>(total), benchmark::Counter::kAvgIterations);
}

// The time per item when every iteration handles `items` of them (shown as a time, from CPU time
// unless the benchmark uses real time).
inline benchmark::Counter timePerItem(std::size_t items) {
    return benchmark::Counter(static_cast<double>(items),
                              benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

}  // namespace benchcounters
