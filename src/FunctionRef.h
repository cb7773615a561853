// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A non-owning reference to a callable, for the walks that call a visitor while the caller's
// lambda lives. Unlike std::function it needs no manager, no heap and no type information for
// the lambda: on the phone every such instantiation costs flash in a library held to 48 KiB.
// Internal to the module; the library exports none of it.
#include <memory>
#include <type_traits>
#include <utility>

namespace fritzbox_detail {

template <typename Signature>
class FunctionRef;

template <typename Result, typename... Args>
class FunctionRef<Result(Args...)> {
public:
    // Implicit, so that a lambda passes where a visitor is asked for, as with std::function. The
    // callable must outlive every call through this reference.
    template <typename Callable, typename = std::enable_if_t<!std::is_same_v<std::decay_t<Callable>, FunctionRef>>>
    FunctionRef(Callable&& callable)  // NOLINT(google-explicit-constructor)
        : m_callable(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          m_call([](void* target, Args... args) -> Result {
              return (*static_cast<std::remove_reference_t<Callable>*>(target))(std::forward<Args>(args)...);
          }) {}

    Result operator()(Args... args) const { return m_call(m_callable, std::forward<Args>(args)...); }

private:
    void* m_callable;
    Result (*m_call)(void*, Args...);
};

}  // namespace fritzbox_detail
