// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

// Loading: the phone's service loads the module with dlopen; every platform name it needs must
// resolve at once (the module is linked with -z now), and it must unload again.
#include <dlfcn.h>

#include <fstream>

#include "BroadsoftServiceHelper.h"
#include "Kit.h"

namespace conformance {

namespace {

// A copy of the module's library, loaded anew next to the one this program is linked with.
void loadsAndUnloads(Context& context) {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<void*>(&BroadsoftServiceHelper::formatTime), &info) == 0 ||
        info.dli_fname == nullptr) {
        fail("the module's library file", "dladdr cannot name it");
    }
    const std::string copy = context.directory + "/libfritzbox-xsi-module-copy.so";
    {
        std::ifstream in(info.dli_fname, std::ios::binary);
        std::ofstream out(copy, std::ios::binary);
        out << in.rdbuf();
    }
    void* module = ::dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        fail("the module loaded with RTLD_NOW, every platform name resolved", ::dlerror());
    }
    expectEqual("dlclose's result", 0, ::dlclose(module));
    void* still = ::dlopen(copy.c_str(), RTLD_NOW | RTLD_NOLOAD);
    expectTrue(still == nullptr, "the module unloaded after dlclose", "it stays loaded");
}

}  // namespace

std::vector<Check> loadChecks() {
    return {{"load.module-dlopen-now", loadsAndUnloads, 20}};
}

}  // namespace conformance
