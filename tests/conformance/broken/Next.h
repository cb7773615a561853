// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// What a broken platform calls to reach the Linux platform's own definition of the operation it
// replaces: the next definition after this library in the loader's search order.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

template <typename Function>
Function nextDefinition(const char* mangledName) {
    void* found = ::dlsym(RTLD_NEXT, mangledName);
    if (found == nullptr) {
        std::fprintf(stderr, "broken platform: no %s after this library\n", mangledName);
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}
