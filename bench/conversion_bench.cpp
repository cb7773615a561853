// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The module's conversion steps without any network: one call-list record, the call-list work
// after a download (digest, cut into lines, 50 records) and one phonebook record.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "BenchCounters.h"
#include "BenchData.h"
#include "CallList.h"
#include "Cryptographer.h"
#include "Documents.h"
#include "Phonebook.h"

using namespace fritzbox_detail;

namespace {

// Distinct contacts the record benchmark cycles through, so no single record's branch dominates,
// and how many entries it collects before it starts a new directory document.
const std::size_t kDistinctContacts = 64;
const std::size_t kDirectoryContacts = 4096;

// One call-list record read and made into its entry, cycling through the first 50 of a list.
void BM_CallRecord(benchmark::State& state) {
    const std::vector<std::string> records = splitCallList(benchdata::callListCsv(kMaxCallListRecords)).records;
    std::size_t handled = 0;
    for (auto _ : state) {
        const CallRecord call = readCallRecord(records[handled++ % records.size()]).record;
        benchmark::DoNotOptimize(callLogsEntry(call.number, call.name, callTime(call),
                                               callLogIdBase(call.year, call.month, call.day, call.hour, call.minute)));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_CallRecord);

// Digest over the whole list, the cut into lines and the 50 readings, for lists of 60 calls
// (the sample router's) and 400 (a long list: only the digest and the cut grow with it).
void BM_CallListConversion(benchmark::State& state) {
    const std::string csv = benchdata::callListCsv(static_cast<std::size_t>(state.range(0)));
    const Cryptographer cryptographer;
    std::size_t accepted = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(cryptographer.md5(csv));
        accepted = 0;
        for (const std::string& record : splitCallList(csv).records) {
            accepted += readCallRecord(record).fault == CallRecordFault::None;
        }
    }
    // Withheld callers (no name, no number) are rejected, as the router's real lists have them.
    state.counters["accepted"] = static_cast<double>(accepted);
    state.counters["csv_bytes"] = static_cast<double>(csv.size());
}
BENCHMARK(BM_CallListConversion)->Arg(60)->Arg(400)->Unit(benchmark::kMicrosecond);

// One contact as the phonebook walk hands it over: a copy of the record (reading takes parts out
// of it), its reading and its entry, without photos.
void BM_PhonebookRecord(benchmark::State& state) {
    std::vector<std::string> records;
    for (std::size_t i = 0; i < kDistinctContacts; ++i) {
        records.push_back(benchdata::phonebookRecord(i));
    }
    std::string directory;
    std::size_t handled = 0;
    for (auto _ : state) {
        std::string record = records[handled % records.size()];
        const ContactReading contact = readContact(record);
        appendDirectoryEntry(directory, contact.name, contact.number);
        if (++handled % kDirectoryContacts == 0) {
            directory.clear();
        }
    }
    if (readContact(records.front()).fault != ContactFault::None) {
        state.SkipWithError("no contact was accepted");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_PhonebookRecord);

// The change-token digest over a whole export, which every directory sync computes before it
// converts anything (and which is all an unchanged directory costs after the download).
void BM_ExportDigest(benchmark::State& state) {
    const std::size_t contacts = static_cast<std::size_t>(state.range(0));
    const std::string exportXml = benchdata::phonebookExport(contacts);
    const Cryptographer cryptographer;
    for (auto _ : state) {
        benchmark::DoNotOptimize(cryptographer.md5(exportXml));
    }
    state.counters["per_contact"] = benchcounters::timePerItem(contacts);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * exportXml.size()));
}
BENCHMARK(BM_ExportDigest)->Arg(1000)->Arg(20000)->Unit(benchmark::kMillisecond);

}  // namespace
