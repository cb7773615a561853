// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// Memory whose end touches a page no access may reach: an object placed at the end of it faults
// (SIGSEGV) as soon as code writes or reads past the object's size, which is what the module's
// allocation is on the phone when a platform class is bigger than the installed header says.
#include <cstddef>
#include <new>
#include <utility>

namespace conformance {

class GuardedMemory {
public:
    GuardedMemory();
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    // Space for `size` bytes that ends right before the guard page.
    void* endSpace(std::size_t size) const;
    // Makes the usable page unreadable too (an object that is gone must not be touched).
    void lock() const;

    // A T constructed right before the guard page.
    template <typename T, typename... Arguments>
    T* make(Arguments&&... arguments) const {
        return new (endSpace(sizeof(T))) T(std::forward<Arguments>(arguments)...);
    }

private:
    char* m_pages = nullptr;
    std::size_t m_pageSize;
};

}  // namespace conformance
