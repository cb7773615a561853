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

// Exports from a small phonebook up to one larger than any household's.
inline void phonebookSizes(benchmark::internal::Benchmark* benchmark) {
    for (const int contacts : {100, 1000, 5000, 20000}) {
        benchmark->Arg(contacts);
    }
    benchmark->Unit(benchmark::kMillisecond);
}

// Time per contact and the export's size, next to the time per sync or download.
inline void reportPerContact(benchmark::State& state, std::size_t contacts, std::size_t exportBytes) {
    state.counters["per_contact"] = timePerItem(contacts);
    state.counters["export_bytes"] = static_cast<double>(exportBytes);
}

}  // namespace benchcounters
