// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The phonebook export's download alone, through the module's own exchange against the router
// model on loopback (in this process, on its own threads), without digest and conversion: the
// network's share of a directory sync (sync_bench.cpp), also with chunked transfer coding.
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

using testsupport::ReceivedRequest;
using testsupport::ScriptedReply;

// The export form's content type, which the router checks like a real one.
const std::multimap<std::string, std::string> kExportFormHeaders{
    {"Content-Type", "multipart/form-data; boundary=----WebKitFormBoundaryPhone"}};

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
    ExportDownload(std::size_t contacts, std::size_t chunkSize) : m_router(benchdata::kPassword) {
        m_router.model().openSession(testsupport::kSid);  // as after a login: the downloads name it
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
    // One download; false unless the whole export arrived.
    bool download() {
        const fritzbox_detail::RouterReply exchange = m_connection.requests().post(
            fritzbox_detail::kExportTarget, fritzbox_detail::exportFormBody(testsupport::kSid), kExportFormHeaders);
        return exchange.ok && exchange.body.size() == exportBytes();
    }

private:
    testsupport::ModelRouter m_router;
    testsupport::StandaloneConnection m_connection;
};

void runDownloads(benchmark::State& state, std::size_t contacts, std::size_t chunkSize) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    ExportDownload download(contacts, chunkSize);
    for (auto _ : state) {
        if (!download.download()) {
            state.SkipWithError("export download failed");
            break;
        }
    }
    benchcounters::reportPerContact(state, contacts, download.exportBytes());
}

// The network's share of BM_PhonebookSync: the same export, sent with a Content-Length.
void BM_PhonebookDownload(benchmark::State& state) {
    runDownloads(state, static_cast<std::size_t>(state.range(0)), 0);
}
BENCHMARK(BM_PhonebookDownload)->Apply(benchcounters::phonebookSizes);

// A 5,000-contact export in chunks of the given size (chunked transfer coding), as a web server
// that writes its output piece by piece frames it. The router sends the whole response at once,
// so the client finds its receive buffer full of small chunks, as a slow phone does.
void BM_ChunkedExportDownload(benchmark::State& state) {
    runDownloads(state, 5000, static_cast<std::size_t>(state.range(0)));
    state.counters["chunk_bytes"] = static_cast<double>(state.range(0));
}
BENCHMARK(BM_ChunkedExportDownload)->Arg(16384)->Arg(1024)->Arg(64)->Unit(benchmark::kMillisecond);

}  // namespace
