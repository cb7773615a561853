// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// The program whose peak memory bench/peak-memory.sh measures. The router runs as a process of
// its own, so that its copy of the export never counts towards the module's memory:
//   fritzbox_bench_peak_memory serve CONTACTS   router with an export of CONTACTS contacts;
//                                               prints "PORT EXPORT_BYTES", serves until killed
//   fritzbox_bench_peak_memory sync PORT        one directory sync and its document
//   fritzbox_bench_peak_memory baseline PORT    the same process without the sync
// The sync modes print the directory's entry count and the document's size.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "BenchData.h"
#include "BenchHost.h"
#include "FritzBox.h"
#include "LinuxPlatform.h"
#include "ModelRouter.h"

namespace {

int serve(std::size_t contacts) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    testsupport::ModelRouter router(benchdata::kPassword);
    router.setPhonebookExport(benchdata::phonebookExport(contacts));
    std::printf("%d %zu\n", router.scripted().port(), router.phonebookExport().size());
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}

// Everything but the sync happens in both modes, so the difference of their peaks is the sync's.
int syncDirectory(const std::string& port, bool sync) {
    benchhost::prepare(linux_platform::PhoneModel::Other);
    linux_platform::mapHost("fritz.box", "80", "127.0.0.1", port);
    FritzBox box("admin", benchdata::kPassword);
    std::string document;
    if (sync) {
        std::string token;
        if (!box.sync(Broadsoft::Filters::Personal, token)) {
            std::fprintf(stderr, "peak_memory: directory sync failed\n");
            return 1;
        }
        document = box.getData(Broadsoft::Filters::Personal);
    }
    std::printf("entries %d document_bytes %zu\n", benchdata::entryCount(document), document.size());
    return 0;
}

int usage() {
    std::fprintf(stderr, "usage: fritzbox_bench_peak_memory serve CONTACTS | sync PORT | baseline PORT\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return usage();
    }
    const std::string mode = argv[1];
    if (mode == "serve") {
        return serve(std::strtoul(argv[2], nullptr, 10));
    }
    if (mode == "sync" || mode == "baseline") {
        return syncDirectory(argv[2], mode == "sync");
    }
    return usage();
}
