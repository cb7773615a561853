// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Whole syncs through the module's public interface against the router model on loopback (in
// this process, on its own threads): the call list, and phonebook exports of growing size, so
// that the conversion's growth with the export's size shows. The program uses nothing of the
// module but FritzBox and of the platform but its public controls, so bench/compare-phonebook.sh
// runs it unchanged against an earlier commit's module and platform libraries; the context line
// "module_library" names the module library that was loaded.
#include <benchmark/benchmark.h>

#include <fstream>
#include <string>

#include "BenchCounters.h"
#include "BenchData.h"
#include "BenchHost.h"
#include "FritzBox.h"
#include "LinuxPlatform.h"
#include "ModelRouter.h"

namespace {

using Broadsoft::Filters::CallLogs;
using Broadsoft::Filters::Personal;

// Requests and TCP connections per iteration since the last resetTransportStats().
void reportTransport(benchmark::State& state) {
    const linux_platform::TransportStats stats = linux_platform::transportStats();
    state.counters["requests"] = benchcounters::perIteration(stats.requestsSent);
    state.counters["connections"] = benchcounters::perIteration(stats.connectionsOpened);
}

// Times syncs of `filter` on the kept session of `box` (logged in by one first, untimed sync) and
// reports requests and connections per sync. The change token is dropped each time, so that
// every sync converts; with the token kept, unchanged data costs only the request and the digest.
void timeSyncs(benchmark::State& state, FritzBox& box, Broadsoft::Filters::FilterTypes filter) {
    std::string firstToken;
    if (!box.sync(filter, firstToken)) {
        state.SkipWithError("login or first sync failed");
        return;
    }
    linux_platform::resetTransportStats();
    for (auto _ : state) {
        std::string token;
        if (!box.sync(filter, token)) {
            state.SkipWithError("sync failed");
            break;
        }
    }
    reportTransport(state);
}

// A whole call-list sync: one request, the digest, the cut into lines and the conversion of the
// first 50 records.
void BM_CallListSync(benchmark::State& state) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    testsupport::ModelRouter router(benchdata::kPassword);
    router.setCallList(benchdata::callListCsv(static_cast<std::size_t>(state.range(0))));
    FritzBox box("admin", benchdata::kPassword);
    timeSyncs(state, box, CallLogs);
    state.counters["csv_bytes"] = static_cast<double>(router.callList().size());
}
BENCHMARK(BM_CallListSync)->Arg(60)->Arg(400)->Unit(benchmark::kMicrosecond);

// Whole directory syncs against an export of `contacts` contacts: the download, its digest and
// the conversion of every contact, and on a phone model that shows photos the photo fetches.
void runPhonebookSyncs(benchmark::State& state, linux_platform::PhoneModel model, std::size_t contacts) {
    benchhost::prepare(model);
    testsupport::ModelRouter router(benchdata::kPassword);
    router.setPhonebookExport(benchdata::phonebookExport(contacts));
    router.setPhotos(benchdata::photos());
    FritzBox box("admin", benchdata::kPassword);
    timeSyncs(state, box, Personal);
    benchcounters::reportPerContact(state, contacts, router.phonebookExport().size());
    state.counters["entries"] = static_cast<double>(benchdata::entryCount(box.getData(Personal)));
}

// Without photos (phone model Other): the growth of the conversion with the export's size.
void BM_PhonebookSync(benchmark::State& state) {
    runPhonebookSyncs(state, linux_platform::PhoneModel::Other, static_cast<std::size_t>(state.range(0)));
}
BENCHMARK(BM_PhonebookSync)->Apply(benchcounters::phonebookSizes);

// On a phone that shows photos (Tern): every fourth contact names one of eight photos, and each
// such contact costs a photo request and a file write, on every sync.
void BM_PhonebookSyncWithPhotos(benchmark::State& state) {
    runPhonebookSyncs(state, linux_platform::PhoneModel::Tern, static_cast<std::size_t>(state.range(0)));
}
BENCHMARK(BM_PhonebookSyncWithPhotos)->Arg(1000)->Unit(benchmark::kMillisecond);

// The file the module library was loaded from, as the process's memory map names it.
std::string moduleLibrary() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t path = line.find('/');
        if (path != std::string::npos && line.find("libfritzbox-xsi-module", path) != std::string::npos) {
            return line.substr(path);
        }
    }
    return "unknown";
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::AddCustomContext("module_library", moduleLibrary());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
