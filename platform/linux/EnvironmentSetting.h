// SPDX-FileCopyrightText: 2026 The fritzbox-xsi authors
//
// SPDX-License-Identifier: MIT

#pragma once
// A setting of the Linux platform that a program or test may set, and that is otherwise read from
// the environment the first time it is asked for (and again after a reset). Lock-free: the log
// level is asked for on every log call, the phone model for every contact.
#include <atomic>

namespace linux_platform {
namespace detail {

class EnvironmentSetting {
public:
    using Reader = int (*)();

    // `notSet` is a value no setting takes; `fromEnvironment` gives the value when none was set.
    constexpr EnvironmentSetting(Reader fromEnvironment, int notSet)
        : m_value(notSet), m_notSet(notSet), m_fromEnvironment(fromEnvironment) {}

    void set(int value) { m_value = value; }
    void reset() { m_value = m_notSet; }
    int get() {
        int value = m_value.load();
        if (value == m_notSet) {
            int expected = m_notSet;
            m_value.compare_exchange_strong(expected, m_fromEnvironment());
            value = m_value.load();
        }
        return value;
    }

private:
    std::atomic<int> m_value;
    const int m_notSet;
    const Reader m_fromEnvironment;
};

}  // namespace detail
}  // namespace linux_platform
