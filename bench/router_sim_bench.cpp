// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Whole syncs over loopback against the router simulator serving the bundled sample router data
// (60 calls, 30 contacts, seven of them with photos): requests, TCP connections and wall time per
// sync, for a fresh FritzBox (cold: login and fetch) and for one that keeps its session (warm).
// The phone model is Tern, so a directory sync fetches the contacts' photos as well.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "BenchCounters.h"
#include "BenchHost.h"
#include "FritzBox.h"
#include "LinuxPlatform.h"
#include "RouterSimulator.h"

namespace {

using Broadsoft::Filters::FilterTypes;

// The simulator's default credentials, which the sample data's README names.
const char* const kUser = "admin";
const char* const kPassword = "geheim";

// A simulator on an ephemeral loopback port that "fritz.box:80" is mapped to.
std::unique_ptr<routersim::RouterSimulator> startSimulator() {
    auto simulator = std::make_unique<routersim::RouterSimulator>(
        routersim::RouterData::loadFromDirectory(FRITZBOX_SAMPLE_DATA_DIR), routersim::SimulatorOptions());
    const int port = simulator->start();
    linux_platform::mapHost("fritz.box", "80", "127.0.0.1", std::to_string(port));
    return simulator;
}

// Starts both sides' counts afresh, for the timed syncs alone.
void resetCounts(routersim::RouterSimulator& simulator) {
    linux_platform::resetTransportStats();
    simulator.resetStats();
}

// Per sync: requests sent and TCP connections opened as the module's platform counts them, and
// requests answered and connections used as the simulator counts them.
void reportCounts(benchmark::State& state, const routersim::RouterSimulator& simulator) {
    const linux_platform::TransportStats client = linux_platform::transportStats();
    const routersim::SimulatorStats server = simulator.stats();
    state.counters["requests"] = benchcounters::perIteration(client.requestsSent);
    state.counters["connections"] = benchcounters::perIteration(client.connectionsOpened);
    state.counters["sim_requests"] = benchcounters::perIteration(server.requests);
    state.counters["sim_connections"] = benchcounters::perIteration(server.connections);
}

// A new FritzBox for every sync, as after a restart of the phone's service: login (challenge and
// response) and the fetch. Building and destroying the object (the picture directory) is not timed.
void BM_ColdSync(benchmark::State& state, FilterTypes filter) {
    benchhost::prepare(linux_platform::PhoneModel::Tern);
    const auto simulator = startSimulator();
    resetCounts(*simulator);
    for (auto _ : state) {
        state.PauseTiming();
        auto box = std::make_unique<FritzBox>(kUser, kPassword);
        state.ResumeTiming();
        std::string token;
        const bool synced = box->sync(filter, token);
        state.PauseTiming();
        box.reset();
        state.ResumeTiming();
        if (!synced) {
            state.SkipWithError("cold sync failed");
            break;
        }
    }
    reportCounts(state, *simulator);
}
BENCHMARK_CAPTURE(BM_ColdSync, call_list, Broadsoft::Filters::CallLogs)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_ColdSync, directory, Broadsoft::Filters::Personal)->Unit(benchmark::kMicrosecond)->UseRealTime();

// One FritzBox that keeps its session and connection; after a first sync outside the timing,
// each sync is the fetch alone. The change token is dropped each time so that every sync
// converts, as after a change on the router.
void BM_WarmSync(benchmark::State& state, FilterTypes filter) {
    benchhost::prepare(linux_platform::PhoneModel::Tern);
    const auto simulator = startSimulator();
    FritzBox box(kUser, kPassword);
    std::string firstToken;
    if (!box.sync(filter, firstToken)) {
        state.SkipWithError("first sync failed");
        return;
    }
    resetCounts(*simulator);
    for (auto _ : state) {
        std::string token;
        if (!box.sync(filter, token)) {
            state.SkipWithError("warm sync failed");
            break;
        }
    }
    reportCounts(state, *simulator);
}
BENCHMARK_CAPTURE(BM_WarmSync, call_list, Broadsoft::Filters::CallLogs)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_WarmSync, directory, Broadsoft::Filters::Personal)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
