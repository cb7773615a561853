// The module's conversion steps without any network: one call-list record, the call-list work
// after a download (digest, cut into lines, 50 records) and one phonebook record.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "BenchCounters.h"
#include "BenchData.h"
#include "BenchHost.h"
#include "Cryptographer.h"
#include "ModuleFixture.h"

namespace {

// What the module converts per fetch and how many header lines it skips before that.
const std::size_t kConvertedCallRecords = 50;
const std::size_t kCallListHeaderLines = 2;
// Distinct contacts the record benchmark cycles through, so no single record's branch dominates,
// and how many it converts before it empties the directory document again.
const std::size_t kDistinctContacts = 64;
const std::size_t kDirectoryContacts = 4096;

// The first `kept` records of a call list, the same lines the module picks: lines end at "\n",
// the header lines are skipped.
std::vector<std::string> leadingRecords(const std::string& csv, std::size_t kept) {
    std::vector<std::string> records;
    std::size_t lineIndex = 0;
    for (std::size_t start = 0; start < csv.size() && records.size() < kept; ++lineIndex) {
        std::size_t end = csv.find('\n', start);
        end = end == std::string::npos ? csv.size() : end;
        if (lineIndex >= kCallListHeaderLines) {
            records.emplace_back(csv, start, end - start);
        }
        start = end + 1;
    }
    return records;
}

// One call-list record, cycling through the first 50 of a list.
void BM_CallRecord(benchmark::State& state) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    FritzBox box("admin", benchdata::kPassword);
    FritzBoxTestAccess access(box);
    std::vector<std::string> records =
        leadingRecords(benchdata::callListCsv(kConvertedCallRecords), kConvertedCallRecords);
    std::size_t handled = 0;
    for (auto _ : state) {
        access.handleCallRecord(records[handled % records.size()]);
        // A fetch converts at most 50 records, so the identifier list never grows beyond that.
        if (++handled % records.size() == 0) {
            access.forgetConversions();
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(BM_CallRecord);

// Digest over the whole list, the cut into lines and the 50 conversions, for lists of 60 calls
// (the sample router's) and 400 (a long list: only the digest and the cut grow with it).
void BM_CallListConversion(benchmark::State& state) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    FritzBox box("admin", benchdata::kPassword);
    FritzBoxTestAccess access(box);
    const std::string csv = benchdata::callListCsv(static_cast<std::size_t>(state.range(0)));
    const Cryptographer cryptographer;
    for (auto _ : state) {
        benchmark::DoNotOptimize(cryptographer.md5(csv));
        access.forgetConversions();
        for (std::string& record : leadingRecords(csv, kConvertedCallRecords)) {
            access.handleCallRecord(record);
        }
    }
    // Withheld callers (no name, no number) are rejected, as the router's real lists have them.
    state.counters["accepted"] = static_cast<double>(access.callLogIds().size());
    state.counters["csv_bytes"] = static_cast<double>(csv.size());
}
BENCHMARK(BM_CallListConversion)->Arg(60)->Arg(400)->Unit(benchmark::kMicrosecond);

// One contact as the phonebook loop hands it over: a copy of the record (the conversion takes
// parts out of it) and its conversion, without photos (phone model Other).
void BM_PhonebookRecord(benchmark::State& state) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    FritzBox box("admin", benchdata::kPassword);
    FritzBoxTestAccess access(box);
    std::vector<std::string> records;
    for (std::size_t i = 0; i < kDistinctContacts; ++i) {
        records.push_back(benchdata::phonebookRecord(i));
    }
    std::size_t handled = 0;
    for (auto _ : state) {
        access.handlePhonebookRecord(records[handled % records.size()]);
        if (++handled % kDirectoryContacts == 0) {
            access.forgetConversions();
        }
    }
    if (access.phoneBookSize() == 0) {
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
