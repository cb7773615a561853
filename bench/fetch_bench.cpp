// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Fetches through sync() against the module tests' loopback router (in this process, on its own
// threads): the call list, and phonebook exports of growing size, with and without the
// conversion, so that the conversion's share and its growth with the export's size show.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "BenchCounters.h"
#include "BenchData.h"
#include "BenchHost.h"
#include "LinuxPlatform.h"
#include "ModuleFixture.h"
#include "RouterExchange.h"

namespace {

using Broadsoft::Filters::CallLogs;
using Broadsoft::Filters::Personal;
using testsupport::ReceivedRequest;
using testsupport::ScriptedReply;

// Exports from a small phonebook up to one larger than any household's.
void phonebookSizes(benchmark::internal::Benchmark* benchmark) {
    for (const int contacts : {100, 1000, 5000, 20000}) {
        benchmark->Arg(contacts);
    }
    benchmark->Unit(benchmark::kMillisecond);
}

// The export form's content type, which the router checks like a real one.
const std::multimap<std::string, std::string> kExportFormHeaders{
    {"Content-Type", "multipart/form-data; boundary=----WebKitFormBoundaryPhone"}};

// Logs `box` in with one first sync of `filter`, so that the timed syncs all run on the kept
// session and connection.
bool logInWithFirstSync(FritzBox& box, Broadsoft::Filters::FilterTypes filter) {
    std::string token;
    return box.sync(filter, token);
}

// Requests and TCP connections per iteration since the last resetTransportStats().
void reportTransport(benchmark::State& state) {
    const linux_platform::TransportStats stats = linux_platform::transportStats();
    state.counters["requests"] = benchcounters::perIteration(stats.requestsSent);
    state.counters["connections"] = benchcounters::perIteration(stats.connectionsOpened);
}

// Time per contact and the export's size, next to the time per sync.
void reportPerContact(benchmark::State& state, std::size_t contacts, std::size_t exportBytes) {
    state.counters["per_contact"] = benchcounters::timePerItem(contacts);
    state.counters["export_bytes"] = static_cast<double>(exportBytes);
}

// Times syncs of `filter` on the kept session of `box` and reports requests and connections per
// sync. The change token is dropped each time, so that every sync converts; with the token
// kept, unchanged data costs only the request and the digest.
void timeSyncs(benchmark::State& state, FritzBox& box, Broadsoft::Filters::FilterTypes filter) {
    if (!logInWithFirstSync(box, filter)) {
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
    reportPerContact(state, contacts, router.phonebookExport().size());
    state.counters["entries"] = static_cast<double>(benchdata::entryCount(box.getData(Personal)));
}

// Without photos (phone model Other): the growth of the conversion with the export's size.
void BM_PhonebookSync(benchmark::State& state) {
    runPhonebookSyncs(state, linux_platform::PhoneModel::Other, static_cast<std::size_t>(state.range(0)));
}
BENCHMARK(BM_PhonebookSync)->Apply(phonebookSizes);

// A whole response carrying `body` in chunks of `chunkSize` bytes (chunked transfer coding).
std::string chunkedResponse(const std::string& body, std::size_t chunkSize) {
    std::string response = "HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nTransfer-Encoding: chunked\r\n\r\n";
    for (std::size_t offset = 0; offset < body.size(); offset += chunkSize) {
        const std::size_t length = std::min(chunkSize, body.size() - offset);
        char sizeLine[24];
        std::snprintf(sizeLine, sizeof sizeLine, "%zx\r\n", length);
        response.append(sizeLine).append(body, offset, length).append("\r\n");
    }
    return response + "0\r\n\r\n";
}

// The export's download through the module's own exchange, without digest and conversion.
class ExportDownload {
public:
    ExportDownload(std::size_t contacts, std::size_t chunkSize) : m_router(benchdata::kPassword), m_access(m_box) {
        m_router.setPhonebookExport(benchdata::phonebookExport(contacts));
        if (chunkSize > 0) {
            const std::string response = chunkedResponse(m_router.phonebookExport(), chunkSize);
            m_router.override = [response](const ReceivedRequest& request, ScriptedReply& reply) {
                if (request.target != "/cgi-bin/firmwarecfg") {
                    return false;
                }
                reply.raw = response;
                return true;
            };
        }
    }

    std::size_t exportBytes() const { return m_router.phonebookExport().size(); }
    bool logIn() { return logInWithFirstSync(m_box, CallLogs); }
    // One download; false unless the whole export arrived.
    bool download() {
        const fritzbox_detail::RouterReply exchange = m_access.routerRequests().post(
            fritzbox_detail::kExportTarget, fritzbox_detail::exportFormBody(m_access.session()), kExportFormHeaders);
        return exchange.ok && exchange.body.size() == exportBytes();
    }

private:
    testsupport::ModelRouter m_router;
    FritzBox m_box{"admin", benchdata::kPassword};
    FritzBoxTestAccess m_access;
};

void runDownloads(benchmark::State& state, std::size_t contacts, std::size_t chunkSize) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    ExportDownload download(contacts, chunkSize);
    if (!download.logIn()) {
        state.SkipWithError("login failed");
        return;
    }
    for (auto _ : state) {
        if (!download.download()) {
            state.SkipWithError("export download failed");
            break;
        }
    }
    reportPerContact(state, contacts, download.exportBytes());
}

// The network's share of BM_PhonebookSync: the same export, sent with a Content-Length.
void BM_PhonebookDownload(benchmark::State& state) {
    runDownloads(state, static_cast<std::size_t>(state.range(0)), 0);
}
BENCHMARK(BM_PhonebookDownload)->Apply(phonebookSizes);

// A 5,000-contact export in chunks of the given size (chunked transfer coding), as a web server
// that writes its output piece by piece frames it. The router sends the whole response at once,
// so the client finds its receive buffer full of small chunks, as a slow phone does.
void BM_ChunkedExportDownload(benchmark::State& state) {
    runDownloads(state, 5000, static_cast<std::size_t>(state.range(0)));
    state.counters["chunk_bytes"] = static_cast<double>(state.range(0));
}
BENCHMARK(BM_ChunkedExportDownload)->Arg(16384)->Arg(1024)->Arg(64)->Unit(benchmark::kMillisecond);

// On a phone that shows photos (Tern): every fourth contact names one of eight photos, and each
// such contact costs a photo request and a file write, on every sync.
void BM_PhonebookSyncWithPhotos(benchmark::State& state) {
    runPhonebookSyncs(state, linux_platform::PhoneModel::Tern, static_cast<std::size_t>(state.range(0)));
}
BENCHMARK(BM_PhonebookSyncWithPhotos)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace
