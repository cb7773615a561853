// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#include "GuardedMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include "Kit.h"

namespace conformance {

GuardedMemory::GuardedMemory() : m_pageSize(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    void* pages = ::mmap(nullptr, 2 * m_pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED || ::mprotect(static_cast<char*>(pages) + m_pageSize, m_pageSize, PROT_NONE) != 0) {
        fail("two pages with a guard", "mmap or mprotect failed");
    }
    m_pages = static_cast<char*>(pages);
}

GuardedMemory::~GuardedMemory() {
    ::munmap(m_pages, 2 * m_pageSize);
}

void* GuardedMemory::endSpace(std::size_t size) const {
    return m_pages + m_pageSize - size;
}

void GuardedMemory::lock() const {
    ::mprotect(m_pages, m_pageSize, PROT_NONE);
}

}  // namespace conformance
